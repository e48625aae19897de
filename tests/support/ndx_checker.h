// Reads an NDX file byte by byte, on its own, and says all that is wrong with it.
#ifndef VQDBSYS_TESTS_SUPPORT_NDX_CHECKER_H_
#define VQDBSYS_TESTS_SUPPORT_NDX_CHECKER_H_

#include "support/tree_checker.h"

namespace vqdb::testing {

using NdxEntry = IndexEntry;

struct NdxTree : TreeReport {
  std::uint32_t next_free = 0;
  std::uint32_t orphans = 0;  // pages that nothing leads to, left behind by removals
};

// Checked beside the tree: the header's sizes, and that the file has the pages it counts.
NdxTree read_ndx(const std::string& file_name);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_NDX_CHECKER_H_
