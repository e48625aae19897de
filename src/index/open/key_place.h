// The place of a key in an index that is about to take it. Where one record brings keys to several
// indexes, their places are looked for together: most of the time of an insertion goes to waiting
// for the memory of one page after the other.
#ifndef VQDBSYS_INDEX_OPEN_KEY_PLACE_H_
#define VQDBSYS_INDEX_OPEN_KEY_PLACE_H_

#include <cstdint>
#include <span>

#include "index/open/key_tree.h"

namespace vqdb::index {

struct KeyPlace {
  KeyPlace(Index& taker, const void* coming) : index(&taker), key(coming) {}

  Index* index;
  const void* key;
  Path path;
  bool is_found = false;
  std::uint32_t changes = 0;  // of the tree, up to then
};

// A place that cannot be found, or may not be looked for now, is left to the insertion, which tells
// why.
void find_places(std::span<KeyPlace> places);

// put_key() there. REQUIRES the same bracket as for finding the place.
Result put_key_at(const KeyPlace& place, std::uint32_t recno, bool bracketed);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_OPEN_KEY_PLACE_H_
