// The position of an open NDX file, kept and found again.
#ifndef VQDBSYS_INDEX_NDX_POSITION_H_
#define VQDBSYS_INDEX_NDX_POSITION_H_

#include <cstdint>

#include "index/ndx_file.h"

namespace vqdb::index {

// The path to the entry with this key and record number.
Result find_entry(NdxFile& file, const Byte* key, std::uint32_t recno, Path& path, bool& found);

// Makes the cursor's path lead to its anchor's entry. Where the entry has vanished, at_entry is
// false and the path leads to the place of its key.
Result locate(NdxFile& file, bool& at_entry);

inline void set_anchor(Cursor& cursor, Cursor::Anchor anchor, PositionState state) {
  cursor.anchor = anchor;
  cursor.state = state;
  cursor.path_holds = false;
  cursor.leaves_passed = 0;
}

inline void remember(NdxFile& file, const Byte* key, std::uint32_t recno) {
  std::memcpy(file.cursor.key.get(), key, file.key_length());
  file.cursor.recno = recno;
}

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_POSITION_H_
