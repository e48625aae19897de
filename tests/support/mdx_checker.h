// Reads an MDX file byte by byte, on its own, and says all that is wrong with it.
#ifndef VQDBSYS_TESTS_SUPPORT_MDX_CHECKER_H_
#define VQDBSYS_TESTS_SUPPORT_MDX_CHECKER_H_

#include "support/tree_checker.h"

namespace vqdb::testing {

struct MdxTag : TreeReport {
  std::string name;
  std::uint32_t header_page = 0;
  char type = 0;
  std::uint32_t key_length = 0;
  bool descending = false, unique = false;
  std::string key, filter;
};

struct MdxReport {
  std::vector<MdxTag> tags;
  std::vector<std::string> faults;  // of the file and, with their names, of its tags
  std::uint32_t pages = 0;          // of 512 bytes
  std::uint32_t block_pages = 0;
  std::vector<std::uint32_t> free;     // the free list, from its head
  std::vector<std::uint32_t> orphans;  // blocks that nothing leads to

  // An empty report for a name that is not there.
  MdxTag tag(const std::string& name) const;
  std::string all_faults() const;
};

// How a tag's keys are ordered: texts by bytes, dates as doubles, numbers as packed decimals.
int compare_mdx_keys(char type, const std::string& a, const std::string& b);

// Checked beside the trees: header and tag table, the tree of names that the threads make, the
// header of each tag, the free list and its count, unique keys, left neighbours where a page names
// one, and that no block is in two places.
MdxReport read_mdx(const std::string& file_name);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_MDX_CHECKER_H_
