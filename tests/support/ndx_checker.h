// Reads an NDX file byte by byte, on its own, and says all that is wrong with it.
#ifndef VQDBSYS_TESTS_SUPPORT_NDX_CHECKER_H_
#define VQDBSYS_TESTS_SUPPORT_NDX_CHECKER_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vqdb::testing {

using NdxEntry = std::pair<std::string, std::uint32_t>;  // key and record number

struct NdxTree {
  std::vector<NdxEntry> entries;    // as the leaves hold them, from left to right
  std::vector<std::string> faults;  // empty for a sound file
  std::uint32_t root = 0;
  std::uint32_t next_free = 0;
  std::uint32_t depth = 0;    // levels
  std::uint32_t orphans = 0;  // pages that nothing leads to, left behind by removals

  // The entries by key and record number.
  std::vector<NdxEntry> sorted() const;
  std::string all_faults() const;
};

// Checked: counts, entries within their page, key order, every separator the last key below it and
// record number 0 beside it, leaves on one level and none empty but an empty root, every page used
// once and within the file.
NdxTree read_ndx(const std::string& file_name);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_NDX_CHECKER_H_
