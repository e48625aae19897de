// The entries of an index against the keys that the table's records make: two sequences in key
// order, compared one run of equal keys after the other.
#ifndef VQDBSYS_CHECK_KEY_COMPARISON_H_
#define VQDBSYS_CHECK_KEY_COMPARISON_H_

#include <array>
#include <cstdint>
#include <vector>

#include "check/findings.h"
#include "check/tree_check.h"
#include "frame/progress.h"
#include "sort/external_sort.h"

namespace vqdb::check {

class KeyComparison final : public EntrySink {
 public:
  // `expected` delivers what the records make, by key and record number.
  KeyComparison(const TreeShape& shape, sort::ExternalSort& expected, std::uint32_t records,
                FileFindings& findings, Progress& progress)
      : shape_(shape),
        expected_(expected),
        records_(records),
        findings_(findings),
        progress_(progress) {}

  Result start() { return advance(); }
  Result take(const Byte* key, std::uint32_t recno, index::PageNumber page) override;
  Result finish();

 private:
  struct Entry {
    std::uint32_t recno;
    index::PageNumber page;
  };

  Result advance();
  // Compares the run of entries with that of the records.
  Result close_run();
  Result take_expected_run();
  void compare_run();
  void compare_unique_run();
  int compare_with_next(const Byte* key) const;
  void report_missing(std::uint32_t recno);
  void report_entry(std::int32_t code, const Entry& entry, const char* text);

  const TreeShape& shape_;
  sort::ExternalSort& expected_;
  const std::uint32_t records_;
  FileFindings& findings_;
  Progress& progress_;
  const Byte* next_ = nullptr;         // expected; null behind the last
  std::vector<Entry> run_;             // entries of one key
  std::vector<std::uint32_t> wanted_;  // records of the same key
  std::array<Byte, index::kMaxKeyLength> key_ = {};
};

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_KEY_COMPARISON_H_
