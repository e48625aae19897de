// What the operations on keys share: the tree under its bracket, and the position, kept and found
// again.
#ifndef VQDBSYS_INDEX_OPEN_KEY_POSITION_H_
#define VQDBSYS_INDEX_OPEN_KEY_POSITION_H_

#include <cstdint>

#include "index/open/key_tree.h"

namespace vqdb::index {

// Runs the work inside a bracket, on a tree that is still there.
template <typename Work>
Result in_tree(KeyTree& keys, Operation operation, Work work) {
  return in_bracket(keys.file, [&] {
    if (const Result result = keys.store.prepare(); !ok(result)) return result;
    return keys.gone ? fail(keys.file.block, Result::bad_handle, operation.bad_handle()) : work();
  });
}

inline int compare(const KeyTree& keys, const Byte* a, const Byte* b) {
  return keys.tree.order().compare(a, b, keys.key_length());
}

// The path to the entry with this key and record number.
Result find_entry(KeyTree& keys, const Byte* key, std::uint32_t recno, Path& path, bool& found);

// Makes the cursor's path lead to its anchor's entry. Where the entry has vanished, at_entry is
// false and the path leads to the place of its key.
Result locate(KeyTree& keys, bool& at_entry);

inline void set_anchor(Cursor& cursor, Cursor::Anchor anchor, PositionState state) {
  cursor.anchor = anchor;
  cursor.state = state;
  cursor.path_holds = false;
  cursor.leaves_passed = 0;
}

inline void remember(KeyTree& keys, const Byte* key, std::uint32_t recno) {
  std::memcpy(keys.cursor.key.get(), key, keys.key_length());
  keys.cursor.recno = recno;
}

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_OPEN_KEY_POSITION_H_
