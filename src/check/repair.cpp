#include "check/repair.h"

#include <algorithm>
#include <string>
#include <vector>

#include "api/index_list.h"
#include "check/group.h"
#include "check/held_table.h"
#include "check/memo_repair.h"
#include "check/operations.h"
#include "check/patched_copy.h"
#include "frame/file_name.h"
#include "frame/replacements.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "index/mdx/mdx_build.h"
#include "index/ndx/ndx_build.h"
#include "index/ndx/ndx_header.h"
#include "memo/names.h"
#include "platform/file.h"
#include "table/locks.h"
#include "table/record_file.h"
#include "table/records.h"

namespace vqdb::check {
namespace {

std::string number_bytes(std::uint32_t value, std::size_t width) {
  std::string bytes(4, '\0');
  store_le32(bytes.data(), value);
  return bytes.substr(0, width);
}

// What a table's file has to change in, but for its memo references.
std::vector<Patch> table_patches(const TableForm& form, const RecordFacts& facts) {
  std::vector<Patch> patches;
  const auto patch = [&](bool needed, std::uint64_t offset, std::string bytes) {
    if (needed) patches.push_back({offset, std::move(bytes)});
  };
  const table::Header& header = form.header;
  patch(header.version != form.version, 0, std::string(1, static_cast<char>(form.version)));
  patch(header.count != form.count, table::kCountOffset, number_bytes(form.count, 4));
  patch(header.header_length != form.header_length, table::kHeaderLengthOffset,
        number_bytes(form.header_length, 2));
  patch(header.record_length != form.record_length, table::kRecordLengthOffset,
        number_bytes(form.record_length, 2));
  patch(!form.ends_fields && form.fields_end < form.header_length, form.fields_end,
        std::string(1, static_cast<char>(table::kHeaderEnd)));
  for (const std::uint32_t recno : facts.wild_flags) {
    patch(true, form.offset_of(recno), std::string(1, table::kLive));
  }
  patch(form.end == RecordsEnd::other, form.offset_of(std::uint64_t{form.count} + 1),
        std::string(1, table::kEndMark));
  return patches;
}

// A file as it is to become, complete beside it. Neither this nor the backup stays unless it takes
// the file's place.
class Rewrite {
 public:
  ~Rewrite() {
    if (!placed_) backup_.discard();
  }

  // Keeps the file as it was, and has write(copy) make of it what it is to become.
  template <typename Write>
  Result prepare(HeldFile& file, const char* backup_directory, Write write) {
    Result result = backup_.make(file, backup_directory);
    if (!ok(result)) return result;
    const auto made = fresh_.make_beside(file.path());
    if (!made.ok()) return fail(file.block(), open_result(made.error), kRepair.detail(1));
    file_ = &file;
    return write(fresh_.file());
  }
  Result confirm_unchanged() { return file_ != nullptr ? file_->confirm_unchanged() : Result::ok; }
  // Others are kept out until then, where the system lets an open file be replaced; the file is
  // closed.
  Result put_in_place(FileFindings& findings) {
    if (file_ == nullptr) return Result::ok;
    if constexpr (!platform::kReplacesOpenFiles) file_->close();
    const auto placed = fresh_.put_in_place();
    file_->close();
    if (!placed.ok()) return fail(file_->block(), open_result(placed.error), kRepair.detail(4));
    placed_ = true;
    backup_.report(findings);
    findings.add(VQ_F_MENDED, {}, "The file has been mended.");
    return Result::ok;
  }

 private:
  HeldFile* file_ = nullptr;
  Backup backup_;
  TemporaryFile fresh_;
  bool placed_ = false;
};

class Repair {
 public:
  explicit Repair(const Request& request)
      : request_(request),
        block_(request.block),
        findings_(request.block, request.report, request.context) {}

  Result run() {
    const std::string path = path_of(request_.name, memo::kTableExtension);
    std::vector<ListedIndex> indexes;
    Result result = mend_table(path, indexes);
    const bool cut_off = note_cut_off_pack(request_, findings_);
    if (ok(result) && !indexes.empty()) result = mend_indexes(path, indexes, cut_off);
    if (ok(result) && cut_off && !gave_up_ && !api::mark_index_list(request_.name, false)) {
      result = fail(block_, Result::io, kRepair.detail(1));
    }
    return result;
  }

 private:
  Result mend_table(const std::string& path, std::vector<ListedIndex>& indexes) {
    HeldTable table(block_, findings_, path);
    Result result = table.open(true);
    if (ok(result)) result = list_indexes(request_, table, findings_, indexes);
    if (ok(result)) result = table.open_memo(memo_path_of(request_.name), true);
    Progress progress(block_, table.record_count());
    if (ok(result)) result = table.check_records(progress, findings_);
    if (!ok(result)) return result;
    if (!table.form().has_records) {
      table.findings().add(VQ_F_NOT_MENDED, {},
                           "The records of the table cannot be told; a backup of it brings them "
                           "back, or the header of a table of the same fields.");
      give_up_indexes(indexes);
      return Result::ok;
    }
    std::vector<Patch> patches = table_patches(table.form(), table.facts());
    if (!table.form().has_sure_lengths && !patches.empty()) {
      table.findings().add(VQ_F_NOT_MENDED, {},
                           "Nothing tells for certain where the records of the table are.");
      give_up_indexes(indexes);
      return Result::ok;
    }
    // What keeps one of the files from being replaced leaves both as they are.
    Rewrite memo_file;
    Rewrite table_file;
    FileFindings memo_findings(findings_, table.memo_file().path());
    if (table.memo_form().is_memo_file) {
      result = prepare_memo_file(table, memo_findings, patches, memo_file);
    }
    sort_patches(patches);
    if (ok(result) && !patches.empty()) result = prepare_table(table, patches, table_file);
    if (ok(result)) result = memo_file.confirm_unchanged();
    if (ok(result)) result = table_file.confirm_unchanged();
    if (ok(result)) result = memo_file.put_in_place(memo_findings);
    return ok(result) ? table_file.put_in_place(table.findings()) : result;
  }

  // Made of records that cannot be told they would be worth nothing.
  void give_up_indexes(std::vector<ListedIndex>& indexes) {
    indexes.clear();
    gave_up_ = true;
  }

  // What is behind the end mark stays there; what was no whole record goes.
  Result prepare_table(HeldTable& table, const std::vector<Patch>& patches, Rewrite& rewrite) {
    const TableForm& form = table.form();
    const std::uint64_t end = form.offset_of(std::uint64_t{form.count} + 1);
    const std::uint64_t behind = table.file().size() - end;
    const bool is_cut = form.end != RecordsEnd::mark && behind < form.record_length;
    return rewrite.prepare(table.file(), request_.options.backup, [&](platform::File& copy) {
      const std::uint64_t size = is_cut ? end : table.file().size();
      const Result written = write_patched(table.file(), size, patches, copy);
      return ok(written) && !copy.write_at(end, &table::kEndMark, 1).ok()
                 ? fail(block_, Result::io, kRepair.detail(1))
                 : written;
    });
  }

  Result prepare_memo_file(HeldTable& table, FileFindings& findings, std::vector<Patch>& patches,
                           Rewrite& rewrite) {
    const MemoForm& form = table.memo_form();
    const auto is_there = [](const NamedMemo& memo) { return memo.state != MemoState::unreadable; };
    if (form.memos.size() > 1 && std::none_of(form.memos.begin(), form.memos.end(), is_there)) {
      findings.add(VQ_F_NOT_MENDED, {}, "None of the memos that the table names is in the file.");
      return Result::ok;
    }
    const MemoRepair plan = plan_memo_repair(table.form(), form);
    patches.insert(patches.end(), plan.table_patches.begin(), plan.table_patches.end());
    if (!plan.needed) return Result::ok;
    HeldFile& file = table.memo_file();
    return rewrite.prepare(file, request_.options.backup, [&](platform::File& copy) {
      Result result = write_patched(file, file.size(), plan.patches, copy);
      for (const MemoRepair::Move& move : plan.moves) {
        if (ok(result)) result = write_again(file, move.from, move.size, copy, move.to);
      }
      return ok(result) ? write_patches_behind(file, file.size(), plan.patches, copy) : result;
    });
  }

  Result mend_indexes(const std::string& path, const std::vector<ListedIndex>& indexes, bool all) {
    table::ScopedTable table;
    Result result = table.open(block_, path.c_str(), 0, kReadBuffers);
    // What keeps a damaged table from being opened has been reported.
    if (result == Result::bad_format || result == Result::encrypted) return Result::ok;
    if (!ok(result)) return result;
    if (table::has_lock_operations(*table)) result = table::lock_file(*table);
    const std::uint64_t count = table::known_record_count(*table);
    Progress progress(block_, 2 * count * indexes.size());
    const IndexedTable keys = {&*table, static_cast<std::uint32_t>(count)};
    for (const ListedIndex& index : indexes) {
      if (ok(result)) result = mend_index(index, keys, progress, all);
    }
    return result;
  }

  Result mend_index(const ListedIndex& index, const IndexedTable& keys, Progress& progress,
                    bool always) {
    FileFindings findings(findings_, index.path);
    HeldFile file(block_);
    Result result = open_index(index, file, findings, Hold::file);
    if (ok(result) && file.is_open()) result = check_index(index, file, keys, findings, progress);
    if (!ok(result) || (!always && !findings.has_errors())) return result;
    if (index.is_ndx()) return rebuild_ndx(index, file, *keys.table, findings);
    return index.is_mdx() ? rebuild_mdx(index, file, *keys.table, findings) : Result::ok;
  }

  // From its own header as far as that tells what the index is, else from the host's list.
  Result rebuild_ndx(const ListedIndex& index, HeldFile& file, table::Table& table,
                     FileFindings& findings) {
    index::NdxPageBytes page = {};
    const bool has_header = file.is_open() && file.size() >= page.size();
    Result result = has_header ? file.read(0, page.data(), page.size()) : Result::ok;
    Backup backup;
    if (ok(result) && file.is_open()) result = backup.make(file, request_.options.backup);
    if (!ok(result)) return result;
    file.close();
    if (has_header) result = build_by_header(table, index, page);
    if (!has_header || tells_nothing(result)) {
      const VqIndexDef* const def = index.defs.empty() ? nullptr : index.defs.front();
      if (def == nullptr || def->key == nullptr) return give_up(backup, findings);
      const bool unique = (def->options & index::build_option::kUnique) != 0;
      result = index::build_ndx(table, index.path, def->key, ndx_options(index, unique));
    }
    return rebuilt(result, backup, findings);
  }

  // The same for a file of tags. Where its own tag table is gone, the host's list has to give all.
  Result rebuild_mdx(const ListedIndex& index, HeldFile& file, table::Table& table,
                     FileFindings& findings) {
    const bool has_head = file.is_open() && file.size() >= index::kMdxHeadBytes;
    Backup backup;
    Result result = file.is_open() ? backup.make(file, request_.options.backup) : Result::ok;
    if (!ok(result)) return result;
    file.close();
    std::vector<index::TagRequest> tags;
    for (const VqIndexDef* const def : index.defs) {
      if (def->tag == nullptr || def->key == nullptr) continue;
      tags.push_back({def->tag, def->key, nullptr, def->filter, def->options});
    }
    if (has_head) result = index::rebuild_mdx(table, index.path.c_str(), tags);
    if (!has_head || tells_nothing(result)) {
      if (tags.empty() || tags.size() < index.defs.size()) return give_up(backup, findings);
      result = build_tags(index, table, tags);
    }
    return rebuilt(result, backup, findings);
  }

  Result build_tags(const ListedIndex& index, table::Table& table,
                    const std::vector<index::TagRequest>& tags) {
    const GrowingPath growing(index.path);
    Result result = Result::ok;
    for (const index::TagRequest& request : tags) {
      if (ok(result)) result = index::build_mdx(table, growing.get().c_str(), request);
    }
    if (!ok(result)) return result;
    const auto placed = platform::replace(growing.get(), index.path);
    return placed.ok() ? Result::ok : fail(block_, open_result(placed.error), kRepair.detail(4));
  }

  // The file stays as it is.
  Result give_up(Backup& backup, FileFindings& findings) {
    gave_up_ = true;
    backup.discard();
    findings.add(VQ_F_NOT_MENDED, {}, "Nothing tells what the keys of the index are.");
    return Result::ok;
  }
  static Result rebuilt(Result result, const Backup& backup, FileFindings& findings) {
    backup.report(findings);
    if (ok(result)) findings.add(VQ_F_REBUILT, {}, "The index has been built again.");
    return result;
  }

  static std::uint32_t ndx_options(const ListedIndex& index, bool unique) {
    std::uint32_t options = unique ? index::build_option::kUnique : 0;
    if (index.kind->code == VQ_KIND_NDX3) options |= index::build_option::kNdx3;
    return options;
  }

  // Where the header's places disagree on it, keys are not unique: then no record is left out.
  Result build_by_header(table::Table& table, const ListedIndex& index,
                         const index::NdxPageBytes& page) {
    index::NdxHeader header;
    const bool sound = index::parse_ndx_header(page, header);
    if (!header.says_unique_throughout()) header.unique = 0;
    if (sound) return index::rebuild_ndx(table, index.path, header);
    const std::string key(header.expression);
    return index::build_ndx(table, index.path, key.c_str(), ndx_options(index, header.unique != 0));
  }

  // Whether a build failed for what the header says, not for what the system did.
  static bool tells_nothing(Result result) {
    switch (result) {
      case Result::ok:
      case Result::io:
      case Result::no_memory:
      case Result::disk_full:
      case Result::access_denied:
      case Result::too_many_files:
      case Result::cancelled:
      case Result::locked:
      case Result::file_locked:
      case Result::lock_refused:
        return false;
      default:
        return true;
    }
  }

  const Request& request_;
  VqBlock& block_;
  Findings findings_;
  bool gave_up_ = false;  // a table or an index that cannot be told
};

}  // namespace

std::int32_t repair_group(const Request& request) {
  const Result result = Repair(request).run();
  if (!ok(result)) return code(result);
  Request again = request;
  again.report = nullptr;
  return check_group(again);
}

}  // namespace vqdb::check
