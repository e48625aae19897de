// Merges sorted runs into one sequence with a tree of losers: each entry costs one comparison per
// level of the tree.
#ifndef VQDBSYS_SORT_MERGE_H_
#define VQDBSYS_SORT_MERGE_H_

#include <span>
#include <vector>

#include "sort/entry_order.h"
#include "sort/run_file.h"

namespace vqdb::sort {

class Merge {
 public:
  Merge(VqBlock& block, const EntryOrder& order) : block_(block), order_(order) {}

  // Equal entries come in the order of their runs. The workspace is shared out among the runs and
  // must hold an entry for each.
  Result start(std::span<const Run> runs, std::size_t entry_bytes, std::span<Byte> workspace);
  // Null behind the last entry; valid until the next call.
  Result next(const Byte*& entry);

 private:
  struct Source {
    RunReader reader;
    const Byte* entry = nullptr;  // null when the run has ended
    Prefix prefix;
  };

  Result advance(Source& source);
  bool goes_before(std::size_t a, std::size_t b) const;
  std::size_t build(std::size_t node);
  void replay(std::size_t source);

  VqBlock& block_;
  const EntryOrder& order_;
  std::vector<Source> sources_;
  std::vector<std::size_t> losers_;  // by inner node, from 1; the winner is at 0
  bool winner_is_used_ = false;
};

}  // namespace vqdb::sort

#endif  // VQDBSYS_SORT_MERGE_H_
