// Reads a B-tree of an index file byte by byte, on its own, and says all that is wrong with it.
#ifndef VQDBSYS_TESTS_SUPPORT_TREE_CHECKER_H_
#define VQDBSYS_TESTS_SUPPORT_TREE_CHECKER_H_

#include "support/test.h"

namespace vqdb::testing {

using IndexEntry = std::pair<std::string, std::uint32_t>;  // key and record number

// A little-endian number in a file's bytes.
std::uint32_t number_at(const std::string& bytes, std::size_t at, std::size_t width);

// Where a file kind keeps what. Pages are numbered in units of 512 bytes.
struct TreeShape {
  std::uint32_t page_units = 1, first_page = 1;
  std::uint32_t pages = 0;    // of 512 bytes, that the header counts
  std::uint32_t left_at = 0;  // of the left neighbour's number, or 0; 0 where there is no place
  std::uint32_t entries_at = 4;
  std::uint32_t recno_at = 4;  // 0 where it shares its place with the child
  std::uint32_t key_at = 8, stride = 0, key_length = 0, max_keys = 0;
  std::function<int(const std::string&, const std::string&)> compare;
};

struct TreeReport {
  std::vector<IndexEntry> entries;  // as the leaves hold them, from left to right
  std::vector<std::string> faults;  // empty for a sound tree
  std::vector<std::uint32_t> used;  // its pages
  std::vector<std::pair<std::uint32_t, std::uint32_t>> neighbours;  // each page and its left one
  std::uint32_t root = 0;
  std::uint32_t depth = 0;  // levels

  // The entries by key and record number.
  std::vector<IndexEntry> sorted() const;
  std::string all_faults() const;
};

// Checked: left neighbours where a page names one, counts, entries within their page, key order,
// every separator the last key below it and, where it has a place, record number 0 beside it,
// leaves on one level and none empty but an empty root, every page used once and within the file.
TreeReport read_tree(const std::string& bytes, std::uint32_t root, const TreeShape& shape);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_TREE_CHECKER_H_
