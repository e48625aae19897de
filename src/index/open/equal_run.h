// A run of equal keys, in which an entry is looked for by its record number. Entries of a run stand
// in no order that a file could rely on; but a new one goes before its equals and a build delivers
// them by record, so that most runs fall and then rise.
#ifndef VQDBSYS_INDEX_OPEN_EQUAL_RUN_H_
#define VQDBSYS_INDEX_OPEN_EQUAL_RUN_H_

#include <cstdint>

#include "index/open/key_tree.h"

namespace vqdb::index {

class EqualRun {
 public:
  EqualRun(KeyTree& keys, const Byte* key, std::uint32_t recno)
      : keys_(keys), key_(key), recno_(recno) {}

  // First at both ends, where records mostly come and go; then by halving, as if the run fell, and
  // as if it rose; and at last leaf by leaf.
  Result search(Path& path, bool& found);

 private:
  enum class Progress : std::uint8_t { goes_on, ended, found };
  enum class Slope : std::uint8_t { falling, rising };

  bool met() const {
    return has_back_ && front_.leaf().page == back_.leaf().page &&
           front_.leaf().slot == back_.leaf().slot;
  }
  // Looks at the rest of the leaf that the side has come to, and moves on to the next one.
  Result scan_leaf(Path& side, Result (Tree::*move)(Path&, bool&), Progress& progress);
  Result halve(Slope slope, Path& path, bool& found);
  // Looks at a whole leaf; where the entry is not there, tells whether a part of this slope would
  // have it behind the leaf.
  Result look_into(Path& leaf, Slope slope, bool& found, bool& is_behind);

  KeyTree& keys_;
  const Byte* key_;
  std::uint32_t recno_;
  Path front_;
  Path back_;
  bool has_back_ = false;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_OPEN_EQUAL_RUN_H_
