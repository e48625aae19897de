#include "api/building.h"

#include <algorithm>
#include <string>
#include <utility>

#include "api/first_failure.h"
#include "api/index_kinds.h"
#include "api/index_list.h"
#include "api/join.h"
#include "api/open.h"
#include "frame/bytes.h"
#include "frame/file_name.h"
#include "platform/file.h"
#include "table/locks.h"
#include "table/records.h"

namespace vqdb::api {
namespace {

constexpr Operation kIndex{632};
constexpr Operation kReindex{633};
constexpr std::int32_t kNoMemoryForName = 6312;

// The lock of a shared table for the time of a build, unless the host holds it already.
class TableLock {
 public:
  explicit TableLock(table::Table& table) : table_(table) {}
  // Where memory gave out meanwhile.
  ~TableLock() { static_cast<void>(release_after(Result::ok)); }
  TableLock(const TableLock&) = delete;
  TableLock& operator=(const TableLock&) = delete;

  Result take() {
    const bool shared = (table::open_mode_of(table_) & open_mode::kShared) != 0;
    if (!shared || !table::has_lock_operations(table_)) return Result::ok;
    if (ok(table::file_lock_status(table_))) return Result::ok;
    const Result result = table::lock_file(table_);
    taken_ = ok(result);
    return result;
  }

  Result release_after(Result work) {
    FirstFailure failure(table::block_of(table_));
    failure.note(work);
    if (std::exchange(taken_, false)) failure.note(table::unlock_file(table_));
    return failure.result();
  }

 private:
  table::Table& table_;
  bool taken_ = false;
};

// Finds paths of one file, and remembers where the system could not tell.
class SameFiles {
 public:
  bool operator()(const std::string& a, const std::string& b) {
    bool same = a == b;
    if (!same && !platform::same_file(a, b, same).ok()) is_sure_ = false;
    return same;
  }
  bool is_sure() const { return is_sure_; }

 private:
  bool is_sure_ = true;
};

// The group's files on the list, as others may have left it.
class GroupList {
 public:
  explicit GroupList(std::string& text) : text_(text) {}

  // A list that cannot be read counts for nothing.
  Result read(VqBlock& block) {
    const std::int32_t detail = block.detail;
    const Result result = parse_index_list(block, text_, listed_);
    if (block.detail == kNoMemoryForName || result == Result::no_memory) return Result::no_memory;
    if (!ok(result)) {
      text_.clear();
      listed_.clear();
    }
    block.detail = detail;
    return Result::ok;
  }

  // Adds what the list does not have. A group with a name that no list can hold has none.
  void add_files(const MemberList& members) {
    for (const Member& member : members) {
      if (member.is_tag() || has_line_for(member, false)) continue;
      if (add_line(text_, member.kind->code, member.name)) continue;
      text_.clear();
      return;
    }
  }

  // Adds a tag of a file that is listed by single tags.
  void add_tag(const Member& file, std::string_view tag) {
    const std::string name(std::string_view(file.name).substr(0, file.name.find(';')));
    std::string line;
    if (text_.empty() || has_line_for(file, true)) return;
    if (!add_line(line, file.kind->code, name + ";" + std::string(tag))) return;
    if (text_.find(line) == std::string::npos) text_ += line;
  }

  bool is_sure() const { return same_.is_sure(); }

 private:
  bool has_line_for(const Member& file, bool whole) {
    return std::ranges::any_of(listed_, [&](const ListedIndex& index) {
      const IndexKind* const kind = kind_of_file(index.spec.kind);
      return kind != nullptr && kind->column == file.kind->column &&
             !(whole && index.name.find(';') != Text::npos) &&
             same_(path_of(index.name, kind->extension), path_of(file.name, kind->extension));
    });
  }

  std::string& text_;
  ListedIndexes listed_;
  SameFiles same_;
};

// Keeps the list in step with what a build has added to the group: a file, or a tag of one.
Result list_built(Database& database, const Member& file, const char* tag) {
  bool listed = false;
  const bool has_room = has_memory([&] {
    listed = edit_index_list(database.table_name.c_str(), [&](std::string& text) {
      GroupList list(text);
      if (!ok(list.read(database.owner_block()))) return false;
      list.add_files(database.members);
      if (tag != nullptr && file.name.find(';') != Text::npos) list.add_tag(file, tag);
      return list.is_sure();
    });
  });
  return has_room && listed ? Result::ok : fail(database.block, Result::io, kIndex.detail(4));
}

using Place = MemberList::iterator;

// Closes a file and its tags, which stay members. Copies that hosts hold still find them.
Result release_file(Database& database, Place file) {
  if (const Result result = file->driver().flush(*file->index); !ok(result)) return result;
  FirstFailure failure(database.owner_block());
  database.file_order.clear();
  for (Place member = end_of_file(database, file); member != file;) {
    --member;
    failure.note(close_member(*member));
  }
  return failure.result();
}

// A tag that is in the file no more leaves the group.
Result reopen_file(Database& database, Place file) {
  const Place end = end_of_file(database, file);
  for (Place member = file; member != end;) {
    const Place next = std::next(member);
    const Result result = reopen_member(database, *member);
    if (member->is_tag() && result == Result::unknown_name) {
      drop_member(database, member);
    } else if (!ok(result)) {
      const std::int32_t detail = database.block->detail;
      for (Place open = end; open != file;) (void)close_member(*--open);
      database.members.erase(file, end);
      return fail(database.block, result, detail);
    }
    member = next;
  }
  return Result::ok;
}

Result rebuild_file(Database& database, Place file) {
  const auto rebuild = index::builder(file->kind->builder_column).rebuild;
  if (rebuild == nullptr) return Result::no_driver;
  FirstFailure failure(database.owner_block());
  failure.note(release_file(database, file));
  if (file->index != nullptr) return failure.result();
  if (ok(failure.result())) failure.note(rebuild(*database.table, file->name.c_str()));
  failure.note(reopen_file(database, file));
  return failure.result();
}

// The member that is the file of this name, else the end.
Result find_file_member(Database& database, const std::string& path, Place& file) {
  SameFiles same;
  file = std::ranges::find_if(database.members, [&](const Member& member) {
    return !member.is_tag() && same(path_of(member.name, member.kind->extension), path);
  });
  return same.is_sure() ? Result::ok : fail(database.block, Result::io, kIndex.detail(6));
}

// Whether the request adds a tag to a file that is a member.
bool adds_tag(const IndexKind& kind, const index::BuildRequest& request) {
  return kind.has_tags() && request.tag != nullptr &&
         index::builder(kind.builder_column).add_tag != nullptr;
}

Result build_and_join(Database& database, const IndexKind& kind, Place file,
                      const index::BuildRequest& request) {
  const index::Builder& builder = index::builder(kind.builder_column);
  // What others did before the lock counts.
  Result result = table::catch_up(*database.table);
  if (file != database.members.end()) {
    if (ok(result)) result = builder.add_tag(*file->index, request);
    return ok(result) ? join_tag(database, file, request.tag) : result;
  }
  if (ok(result)) result = builder.build(*database.table, request);
  if (!ok(result)) return result;
  const VqIndexSpec spec = {kind.code, request.name, database.block->index_open_parameter, nullptr};
  return join_index(database, spec);
}

}  // namespace

Result build_index(Database& database, std::uint32_t kind_code,
                   const index::BuildRequest& request) {
  const IndexKind* const kind = kind_of_file(kind_code);
  if (kind == nullptr) return fail(database.block, Result::unknown_kind, kIndex.detail(2));
  if (index::builder(kind->builder_column).build == nullptr) return Result::no_driver;
  Place file;
  const Result known = find_file_member(database, path_of(request.name, kind->extension), file);
  if (!ok(known)) return known;
  const bool is_new = file == database.members.end();
  if (!is_new && (!adds_tag(*kind, request) || has_tag(database, *file, request.tag))) {
    return fail(database.block, Result::not_allowed, kIndex.detail(1));
  }
  const bool listed = (database.mode & database_mode::kNoIndexList) == 0;
  if (listed && is_new && !is_listable(request.name)) {
    return fail(database.block, Result::not_allowed, kIndex.detail(3));
  }
  TableLock lock(*database.table);
  if (const Result result = lock.take(); !ok(result)) return result;
  if (is_marked(database.table_name.c_str())) {
    return lock.release_after(fail(database.block, Result::not_allowed, kIndex.detail(5)));
  }
  Result result = build_and_join(database, *kind, file, request);
  if (ok(result) && listed) {
    result = is_new ? list_built(database, database.members.back(), nullptr)
                    : list_built(database, *file, request.tag);
  }
  return lock.release_after(result);
}

Result rebuild_indexes(Database& database) {
  const std::uint32_t mode = table::open_mode_of(*database.table);
  if ((mode & open_mode::kReadOnly) != 0) {
    return fail(database.block, Result::read_only, kReindex.detail(2));
  }
  if ((mode & open_mode::kShared) != 0) {
    return fail(database.block, Result::not_allowed, kReindex.detail(1));
  }
  for (Place file = database.members.begin(); file != database.members.end();) {
    const Place next = end_of_file(database, file);
    if (const Result result = rebuild_file(database, file); !ok(result)) return result;
    file = next;
  }
  return Result::ok;
}

}  // namespace vqdb::api
