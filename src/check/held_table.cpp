#include "check/held_table.h"

#include <algorithm>
#include <array>

#include "check/operations.h"
#include "frame/file_name.h"
#include "memo/file_layout.h"
#include "memo/names.h"
#include "platform/path.h"
#include "table/interrupted.h"

namespace vqdb::check {
Result HeldTable::open(bool locked) {
  Result result = table::complete_interrupted(block_, findings_.path());
  if (ok(result)) result = file_.open(findings_.path(), locked ? Hold::table : Hold::none);
  if (ok(result)) result = read_table_form(file_, findings_, form_);
  if (!ok(result) || !form_.is_table || !form_.header.production) return result;
  production_path_ = platform::resolve(replace_extension(findings_.path(), "MDX"));
  if (platform::exists(production_path_)) return result;
  production_path_.clear();
  findings_.add(VQ_F_PRODUCTION_MISSING, {.offset = table::kProductionOffset},
                "The table is marked as having an MDX file, which is not there.");
  return result;
}

Result HeldTable::open_memo(const std::string& path, bool locked) {
  if (!form_.has_records || !form_.has_memo_fields()) return Result::ok;
  const std::int32_t detail = block_.detail;
  const Result result = memo_.open(path, locked ? Hold::file : Hold::none);
  if (result != Result::not_found) return result;
  block_.detail = detail;
  return Result::ok;
}

Result HeldTable::check_records(Progress& progress, Findings& memo_findings) {
  if (!form_.has_records) return Result::ok;
  const Result result = check::check_records(file_, form_, findings_, progress, facts_);
  if (!ok(result) || !form_.has_memo_fields()) return result;
  if (form_.header.version == table::version::kFoxproMemo) {
    findings_.add(VQ_F_NOT_COMPARED, {}, "Memo files of this kind are not looked at.");
    return Result::ok;
  }
  if (!memo_.is_open()) {
    report_missing_memo_file();
    return Result::ok;
  }
  if (memo::denies_memo_file(form_.header.version)) {
    findings_.add(VQ_F_VERSION_MEMO, {}, "The version byte says that there is no memo file.");
  }
  memo::Layout layout = memo::layout_of_version(block_, form_.header.version);
  if (const Result known = confirm_layout(layout); !ok(known)) return known;
  if (memo::layout_of_version(block_, form_.version) != layout ||
      memo::denies_memo_file(form_.version)) {
    form_.version = memo::version_for(layout);
  }
  FileFindings findings(memo_findings, memo_.path());
  return read_memo_form(memo_, findings, layout, {form_, facts_.references, findings_}, memo_form_);
}

// A dBASE IV memo file tells its layout by its header, or by its memos; one of dBASE III has zeros
// there.
Result HeldTable::confirm_layout(memo::Layout& layout) {
  std::array<Byte, memo::kHeaderBytes> header = {};
  if (memo_.size() < header.size()) return Result::ok;
  if (const Result result = memo_.read(0, header.data(), header.size()); !ok(result)) {
    return result;
  }
  const bool has_mark = std::equal(memo::kLayoutMark.begin(), memo::kLayoutMark.end(),
                                   &header[memo::kLayoutMarkOffset]);
  const bool has_size = memo::is_block_size(load_le16(&header[memo::kBlockSizeOffset]));
  const memo::Layout told = has_mark ? memo::Layout::dbase4 : memo::Layout::dbase3;
  const bool half = has_mark != has_size;  // either may be damaged
  if (half || told == layout) return Result::ok;
  if (told == memo::Layout::dbase3) {
    bool is_dbase4 = false;  // with a header of zeros
    const Result result = names_dbase4_memos(memo_, facts_.references, is_dbase4);
    if (!ok(result) || is_dbase4) return result;
  }
  findings_.add(VQ_F_VERSION_MEMO, {},
                "The version byte stands for a memo file of the other layout.");
  layout = told;
  return Result::ok;
}

void HeldTable::report_missing_memo_file() {
  const std::vector<MemoReference>& references = facts_.references;
  if (references.empty()) return;
  const MemoReference& first = references.front();
  findings_.add(VQ_F_MEMO_FILE_MISSING,
                {.offset = first.offset_in(form_),
                 .record = first.record,
                 .name = form_.fields[first.field].name.data()},
                numbered("", references.size(),
                         " fields name memos, and there is no memo file: " + memo_.path()));
}

Result HeldTable::open_for_keys(IndexedTable& out) {
  if (!form_.has_records || !form_.counts_right()) return Result::ok;
  const Result result =
      table_.open(block_, findings_.path().c_str(), open_mode::kReadOnly, kReadBuffers);
  if (ok(result)) out = {&*table_, form_.count};
  // What a damaged table is refused with has been found already.
  return result == Result::bad_format ? Result::ok : result;
}

}  // namespace vqdb::check
