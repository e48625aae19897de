// What the operations on keys share: the tree under its bracket, and the position, kept and found
// again.
#ifndef VQDBSYS_INDEX_OPEN_KEY_POSITION_H_
#define VQDBSYS_INDEX_OPEN_KEY_POSITION_H_

#include <cstdint>

#include "index/open/key_tree.h"

namespace vqdb::index {

// Runs the work inside a bracket, on a tree that is still there. Work for reading may be run again:
// it has changed nothing but the cursor's path.
template <typename Work>
Result in_tree(KeyTree& keys, Operation operation, Purpose purpose, Work work) {
  VqBlock& block = keys.file.block;
  for (const std::int32_t detail = block.detail;; block.detail = detail) {
    const Result result = in_bracket(keys.file, purpose, [&] {
      if (const Result prepared = keys.store.prepare(); !ok(prepared)) return prepared;
      return keys.gone ? fail(block, Result::bad_handle, operation.bad_handle()) : work();
    });
    if (!keys.file.was_overtaken()) return result;
    keys.cursor.path_holds = false;
  }
}

// Whether there is a key that the tree can order.
inline bool has_place(const KeyTree& keys, const void* key) {
  return key != nullptr && keys.tree.order().has_place(static_cast<const Byte*>(key));
}

inline int compare(const KeyTree& keys, const Byte* a, const Byte* b) {
  return keys.tree.order().compare(a, b, keys.key_length());
}

// The path to the entry with this key and record number.
Result find_entry(KeyTree& keys, const Byte* key, std::uint32_t recno, Path& path, bool& found);

enum class Direction : std::uint8_t { forward, backward };
inline std::int32_t places(Direction direction) { return direction == Direction::forward ? 1 : -1; }

// Makes the cursor's path lead to its anchor's entry. Where the entry has vanished, at_entry is
// false and the path leads to the place that it had: what stood behind it is there or next, what
// stood before it is the previous entry. Where no trace of its neighbours among equal keys is left,
// a step in the direction meets all of these again.
Result locate(KeyTree& keys, Direction direction, bool& at_entry);

// Keeps the leaf of a shared file for locate(), with the slot of the anchor's entry; false when it
// is not kept.
bool keep_leaf(KeyTree& keys, const Path& path);
// Keeps what was kept of the leaf that a step has left at its end: all its entries lie behind then.
void keep_passed(KeyTree& keys, Direction direction);

inline void set_anchor(Cursor& cursor, Cursor::Anchor anchor, PositionState state) {
  cursor.anchor = anchor;
  cursor.state = state;
  cursor.path_holds = false;
  cursor.leaf_holds = cursor.passed_holds = false;
  cursor.leaves_passed = 0;
}

inline void remember(KeyTree& keys, const Byte* key, std::uint32_t recno) {
  copy_short(keys.cursor.key.get(), key, keys.key_length());
  keys.cursor.recno = recno;
}

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_OPEN_KEY_POSITION_H_
