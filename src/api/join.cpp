#include "api/join.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "api/in_bracket.h"
#include "frame/bytes.h"
#include "frame/file_name.h"

namespace vqdb::api {
namespace {

constexpr Operation kOpen{611};
constexpr Operation kJoin{612};

// A tag list: header page (4 bytes), name (11), flags (4) for each tag.
constexpr std::size_t kTagEntryBytes = 19;
constexpr std::size_t kTagNameAt = 4;
constexpr std::size_t kTagNameBytes = 11;

constexpr std::int32_t kFilterBytes = 250;

// Keys made of longer texts are cut.
constexpr std::int32_t kLongestText = 100;

using Place = MemberList::iterator;

// A member before this place, still empty; the place itself without memory.
Place add_member(Database& database, Place before, const IndexKind& kind) {
  Place member = before;
  if (!has_memory([&] { member = database.members.emplace(before); })) {
    (void)fail(database.block, Result::no_memory, kOpen.detail(3));
    return before;
  }
  member->kind = &kind;
  return member;
}

Result compile(Database& database, const char* text, Program& program, expr::ResultShape& shape) {
  expr::Expression* compiled = nullptr;
  const Result result = expr::parse(database.owner_block(), text,
                                    expr::Binding{.table = database.table}, compiled, shape);
  program.reset(compiled);
  return result;
}

Result compile_filter(Database& database, const char* text, Member& member) {
  member.filter.reset();
  if (*text == '\0') return Result::ok;
  expr::ResultShape shape;
  const Result result = compile(database, text, member.filter, shape);
  if (ok(result) && shape.type != 'L') {
    return fail(database.block, Result::operand, kJoin.detail(5));
  }
  return result;
}

Result open_file(Database& database, const char* name, Member& member) {
  member.index = member.driver().open(*database.table, name, table::open_mode_of(*database.table),
                                      member.buffers);
  return member.index != nullptr ? Result::ok : static_cast<Result>(database.block->result);
}

Result open_index_file(Database& database, const VqIndexSpec& spec, Member& member) {
  member.buffers = spec.parameter;
  if (const Result result = open_file(database, spec.name, member); !ok(result)) return result;
  if (!has_memory([&] { member.name.assign(spec.name); })) {
    return fail(database.block, Result::no_memory, kOpen.detail(5));
  }
  return Result::ok;
}

Result activate_tag(Database& database, Member& tag) {
  if (tag.driver().actidx == nullptr) return Result::no_driver;
  tag.index = tag.driver().actidx(*tag.file->index, tag.tag.c_str());
  return tag.index != nullptr ? Result::ok : static_cast<Result>(database.block->result);
}

bool is_number(char type) { return type == 'N' || type == 'F' || type == 'D'; }

// A file may leave open which of its numbers are dates, and a text longer than any key is cut. A
// tag's own length holds: texts are cut or filled to it.
Result check_key(Database& database, Member& member, const expr::ResultShape& shape) {
  const index::Driver& driver = member.driver();
  const auto type = static_cast<char>(driver.keytyp(*member.index));
  const std::int32_t length = driver.keylen(*member.index);
  const std::int32_t built = expr::key_length(shape, member.code());
  const bool same_type = type == shape.type || (is_number(type) && is_number(shape.type));
  const bool fits_any_text = member.is_tag() && type == 'C';
  const bool same_length = built == length || built == 0 || built > kLongestText || fits_any_text;
  if (same_type && same_length) return Result::ok;
  return fail(database.block, Result::mismatch, kJoin.detail(7));
}

// What the header of a file of the older form does not tell; only the expression does.
void mark_dates(Member& member) {
  if (member.key_type == 'D' && member.bracket().datek != nullptr) {
    member.bracket().datek(*member.index);
  }
}

Result compile_key(Database& database, const char* text, Member& member) {
  expr::ResultShape shape;
  const Result result = compile(database, text, member.key, shape);
  if (!ok(result)) return result;
  member.key_length = shape.length;
  member.key_type = shape.type;
  member.reads_flag = expr::reads_deletion_flag(*member.key) ||
                      (member.filter != nullptr && expr::reads_deletion_flag(*member.filter));
  mark_dates(member);
  return check_key(database, member, shape);
}

// The group's member that is the same file under whatever name.
Member* same_file(Database& database, const Member& file) {
  const auto identity = file.bracket().identity;
  if (identity == nullptr) return nullptr;
  for (Member& other : database.members) {
    if (&other == &file || other.is_tag() || other.bracket().identity != identity) continue;
    if (identity(*other.index) == identity(*file.index)) return &other;
  }
  return nullptr;
}

Result join_single(Database& database, const VqIndexSpec& spec, Member& member) {
  if (const Result result = open_index_file(database, spec, member); !ok(result)) {
    return result;
  }
  if (same_file(database, member) != nullptr) {
    return fail(database.block, Result::not_allowed, kJoin.detail(8));
  }
  const platform::Bytes room = platform::allocate_bytes(kMaxExpressionBytes);
  if (room == nullptr) return fail(database.block, Result::no_memory, kJoin.detail(6));
  auto* const text = reinterpret_cast<char*>(room.get());
  std::int32_t flags = 0;
  const Result known = member.driver().expr(*member.index, text, kMaxExpressionBytes, &flags);
  if (!ok(known)) return known;
  return compile_key(database, text, member);
}

// What a tag is known by, whatever becomes of its keys.
Text definition_of(const Member& tag, std::string_view key, std::string_view filter,
                   std::int32_t flags) {
  const auto numbers = {flags, tag.driver().keytyp(*tag.index), tag.driver().keylen(*tag.index)};
  Text text(key);
  text.append(1, '\0').append(filter);
  for (const std::int32_t number : numbers) text.append(1, '\0').append(std::to_string(number));
  return text;
}

Result compile_tag(Database& database, const char* key, const char* filter, Member& tag) {
  if (const Result result = compile_filter(database, filter, tag); !ok(result)) return result;
  return compile_key(database, key, tag);
}

// Gives an active tag the programs of its definition, unless it has them: then copies that hosts
// hold go on finding it. After a failure the tag has those that it had.
Result define_tag(Database& database, Member& tag) {
  const platform::Bytes room = platform::allocate_bytes(kMaxExpressionBytes);
  if (room == nullptr) return fail(database.block, Result::no_memory, kJoin.detail(1));
  const platform::Bytes filter_room = platform::allocate_bytes(kFilterBytes);
  if (filter_room == nullptr) return fail(database.block, Result::no_memory, kJoin.detail(2));
  auto* const key = reinterpret_cast<char*>(room.get());
  auto* const filter = reinterpret_cast<char*>(filter_room.get());
  std::int32_t flags = 0;
  const Result known = tag.driver().expr(*tag.index, key, kMaxExpressionBytes, &flags);
  if (!ok(known)) return known;
  if (*key == '\0') return fail(database.block, Result::operand, kJoin.detail(4));
  std::strncpy(filter, key + std::strlen(key) + 1, kFilterBytes - 1);
  Text definition;
  if (!has_memory([&] { definition = definition_of(tag, key, filter, flags); })) {
    return fail(database.block, Result::no_memory, kJoin.detail(1));
  }
  if (definition == tag.definition) return Result::ok;
  Member made;
  made.kind = tag.kind;
  made.index = tag.index;
  made.file = tag.file;
  if (const Result result = compile_tag(database, key, filter, made); !ok(result)) return result;
  tag.definition.swap(definition);
  tag.key = std::move(made.key);
  tag.filter = std::move(made.filter);
  tag.key_length = made.key_length;
  tag.key_type = made.key_type;
  tag.reads_flag = made.reads_flag;
  return Result::ok;
}

// The tags that are no members yet, in the order of the file. REQUIRES a bracket.
Result join_all_tags(Database& database, Place file) {
  const index::Driver& driver = file->driver();
  if (driver.tags == nullptr || driver.listag == nullptr) return Result::no_driver;
  const std::int32_t count = driver.tags(*file->index);
  if (count <= 0) return static_cast<Result>(count);
  const auto tags = static_cast<std::size_t>(count);
  const platform::Bytes list = platform::allocate_bytes(tags * kTagEntryBytes);
  if (list == nullptr) return fail(database.block, Result::no_memory, kOpen.detail(4));
  if (const Result result = driver.listag(*file->index, list.get()); !ok(result)) return result;
  for (std::size_t i = 0; i < tags; ++i) {
    const auto* const entry =
        reinterpret_cast<const char*>(list.get() + i * kTagEntryBytes + kTagNameAt);
    std::string_view name(entry, kTagNameBytes);
    name = name.substr(0, name.find('\0'));
    if (has_tag(database, *file, name)) continue;
    if (const Result result = join_tag(database, file, name); !ok(result)) return result;
  }
  return Result::ok;
}

// A file that is a member already, opened for another of its tags, is not opened twice: two handles
// of one file would exclude each other.
Result join_multiple(Database& database, const VqIndexSpec& spec, Place file) {
  if (const Result result = open_index_file(database, spec, *file); !ok(result)) return result;
  const std::string_view only = behind_semicolon(spec.name);
  file->all_tags = only.empty();
  if (const Member* const other = same_file(database, *file); other != nullptr) {
    if (only.empty()) return fail(database.block, Result::not_allowed, kJoin.detail(8));
    const auto is_other = [&](const Member& member) { return &member == other; };
    drop_member(database, file);
    return join_tag(database, std::ranges::find_if(database.members, is_other), only);
  }
  if (!only.empty()) return join_tag(database, file, only);
  // Others add and drop tags: what one question was told has to hold for the next.
  return in_bracket(database, *file, &index::Bracket::look,
                    [&] { return join_all_tags(database, file); });
}

// A tag that is in the file no more stays a member, in case it is made again.
Result take_up_tag(Database& database, Member& tag) {
  index::Index* const known = tag.index;
  const std::int32_t detail = database.block->detail;
  Result result = activate_tag(database, tag);
  if (!ok(result)) {
    tag.index = known;
    if (result != Result::unknown_name) return result;
    database.block->detail = detail;
    return Result::ok;
  }
  if (tag.index != known) result = define_tag(database, tag);
  index::Index* const spare = ok(result) ? known : tag.index;
  if (!ok(result)) tag.index = known;
  (void)tag.driver().deaidx(*spare);
  return result;
}

}  // namespace

bool has_tag(const Database& database, const Member& file, std::string_view name) {
  return std::ranges::any_of(database.members, [&](const Member& member) {
    return member.file == &file && equal_ignoring_case(member.tag, name);
  });
}

// The tag joins behind those of its file that are members.
Result join_tag(Database& database, Place file, std::string_view name) {
  if (has_tag(database, *file, name)) {
    return fail(database.block, Result::not_allowed, kJoin.detail(8));
  }
  const Place end = end_of_file(database, file);
  const Place tag = add_member(database, end, *file->kind);
  if (tag == end) return Result::no_memory;
  tag->file = &*file;
  Result result = Result::ok;
  if (!has_memory([&] { tag->tag.assign(name); })) {
    result = fail(database.block, Result::no_memory, kJoin.detail(3));
  }
  if (ok(result)) result = activate_tag(database, *tag);
  if (ok(result)) result = define_tag(database, *tag);
  if (!ok(result)) drop_member(database, tag);
  return result;
}

Result join_index(Database& database, const VqIndexSpec& spec) {
  const IndexKind* const kind = kind_of_spec(spec.kind);
  if (kind == nullptr) return Result::ok;
  if (spec.name == nullptr) return Result::out_of_range;
  if (index::driver(kind->column).open == nullptr) return Result::no_driver;
  const std::size_t before = database.members.size();
  database.file_order.clear();
  const Place member = add_member(database, database.members.end(), *kind);
  if (member == database.members.end()) return Result::no_memory;
  const Result result = kind->has_tags() ? join_multiple(database, spec, member)
                                         : join_single(database, spec, *member);
  if (ok(result)) return result;
  const std::int32_t detail = database.block->detail;
  while (database.members.size() > before) (void)close_last_member(database);
  database.block->detail = detail;
  return result;
}

Result take_up_tags(Database& database, Place file) {
  const Place end = end_of_file(database, file);
  for (Place tag = std::next(file); tag != end; ++tag) {
    if (const Result result = take_up_tag(database, *tag); !ok(result)) return result;
  }
  return file->all_tags ? join_all_tags(database, file) : Result::ok;
}

Result reopen_member(Database& database, Member& member) {
  database.file_order.clear();
  member.tags_seen = 0;
  if (member.is_tag()) {
    const Result result = activate_tag(database, member);
    return ok(result) ? define_tag(database, member) : result;
  }
  const Result result = open_file(database, member.name.c_str(), member);
  if (ok(result)) mark_dates(member);
  return result;
}

}  // namespace vqdb::api
