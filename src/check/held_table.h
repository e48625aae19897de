// A table with its memo file, as they are checked together.
#ifndef VQDBSYS_CHECK_HELD_TABLE_H_
#define VQDBSYS_CHECK_HELD_TABLE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "check/findings.h"
#include "check/memo_form.h"
#include "check/ndx_check.h"
#include "check/table_form.h"
#include "table/scoped_table.h"

namespace vqdb::check {

class HeldTable {
 public:
  HeldTable(VqBlock& block, Findings& findings, const std::string& path)
      : block_(block), findings_(findings, path), file_(block) {}

  // Opens the file and makes out its form.
  Result open(bool locked);
  // Opens the memo file, when the fields can have one. A missing one is no failure.
  Result open_memo(const std::string& path, bool locked);
  // Reads the records, and the memos that they name. The findings of the memo file go to their own
  // place, so that a check of one file alone can leave the other's out.
  Result check_records(Progress& progress, Findings& memo_findings);
  // Opens the table for its keys to be made; where that cannot be, `out` stays without a table.
  Result open_for_keys(IndexedTable& out);
  // Fails when the table has changed since it was opened, with detail 6602.
  Result confirm_unchanged() { return file_.confirm_unchanged(); }

  const TableForm& form() const { return form_; }
  // The MDX file that the table is marked with, where it is there; else empty.
  const std::string& production_path() const { return production_path_; }
  const RecordFacts& facts() const { return facts_; }
  const MemoForm& memo_form() const { return memo_form_; }
  FileFindings& findings() { return findings_; }
  HeldFile& file() { return file_; }
  HeldFile& memo_file() { return memo_; }
  std::uint64_t record_count() const { return form_.has_records ? form_.count : 0; }

 private:
  Result confirm_layout(memo::Layout& layout);
  void report_missing_memo_file();

  VqBlock& block_;
  FileFindings findings_;
  HeldFile file_;
  TableForm form_;
  RecordFacts facts_;
  HeldFile memo_{block_};
  MemoForm memo_form_;
  std::string production_path_;
  table::ScopedTable table_;
};

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_HELD_TABLE_H_
