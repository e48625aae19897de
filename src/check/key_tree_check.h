// The tree of an index or tag: its pages, and its entries against the keys that the table's records
// make.
#ifndef VQDBSYS_CHECK_KEY_TREE_CHECK_H_
#define VQDBSYS_CHECK_KEY_TREE_CHECK_H_

#include <cstdint>
#include <string>

#include "check/findings.h"
#include "check/tree_check.h"
#include "frame/progress.h"
#include "index/keys/stream_order.h"
#include "table/table.h"

namespace vqdb::check {

// What indexes are compared with; no table: nothing.
struct IndexedTable {
  table::Table* table = nullptr;
  std::uint32_t count = 0;
};

struct KeyTree {
  TreeShape shape;
  index::IndexFamily family = index::IndexFamily::ndx;
  bool descending = false;
  char key_type = 'C';
  std::uint32_t run_options = 0;  // of the keys
  std::string key = {};           // expressions
  std::string filter = {};
};

// Sound tells whether the pages can be read; what a damaged tree holds is not compared.
Result check_key_tree(VqBlock& block, ChunkReader& reader, const KeyTree& tree, PageUse& use,
                      const IndexedTable& table, FileFindings& findings, Progress& progress,
                      bool& sound);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_KEY_TREE_CHECK_H_
