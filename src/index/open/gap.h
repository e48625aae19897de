// The place of a position in a shared file whose entry others have removed, or moved among its
// equals, by the neighbours that it had in its leaf and in the leaf passed before.
#ifndef VQDBSYS_INDEX_OPEN_GAP_H_
#define VQDBSYS_INDEX_OPEN_GAP_H_

#include <cstdint>

#include "index/open/key_position.h"

namespace vqdb::index {

// REQUIRES a cursor whose leaf was kept.
class Gap {
 public:
  Gap(KeyTree& keys, Direction direction)
      : keys_(keys),
        direction_(direction),
        leaf_(keys.tree.layout(), keys.cursor.leaf.get()),
        passed_(keys.tree.layout(), keys.cursor.passed.get()),
        slot_(keys.cursor.leaf_slot),
        count_(leaf_.count()) {}

  // Whether the entry, which was found again, stands behind the neighbour that it had, and before
  // all that its leaf showed behind it, up to the leaf's end. Elsewhere it has been away, and has
  // come back in front of its equals.
  Result still_fits(const Path& found, bool& fits);
  // The path to the place: what stood behind it is there or next.
  Result find(Path& path);

 private:
  const Byte* key() const { return keys_.cursor.key.get(); }
  bool is_equal(const Byte* other) const { return compare(keys_, other, key()) == 0; }
  // Where an equal entry of this record stood: below 0 before the gap, above 0 behind it, 0 where
  // it was not seen.
  std::int64_t place_of(std::uint32_t recno) const;
  bool knows_next_leaf() const {
    return keys_.cursor.passed_holds && !keys_.cursor.passed_is_before && passed_.count() > 0;
  }
  // Whether the entry beside is what the leaf had there; all beyond the run are alike.
  Result step_fits(Path& at, Result (Tree::*move)(Path&, bool&), std::uint32_t slot,
                   bool& fits) const;
  // Who has come back among its equals stands before all that stayed. Going on, the place is
  // before the first entry that stood behind the gap, else behind the last one that stood before
  // it; going back, it is where those that stood behind begin for the last time, as long as nothing
  // follows them that may have stood before.
  Result find_neighbour(Path& path, bool& found);
  Result place_behind(Path& path);

  KeyTree& keys_;
  const Direction direction_;
  const Page leaf_;
  const Page passed_;
  const std::uint32_t slot_;
  const std::uint32_t count_;
  std::uint32_t first_ = 0;  // the entry's equals in the leaf
  std::uint32_t end_ = 0;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_OPEN_GAP_H_
