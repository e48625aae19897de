// The orders of keys in an open index. A key is compared where it lies, over its full fixed length;
// an order also finds a key's place among the entries of a page.
#ifndef VQDBSYS_INDEX_KEYS_KEY_ORDER_H_
#define VQDBSYS_INDEX_KEYS_KEY_ORDER_H_

#include <cstddef>
#include <cstdint>

#include "frame/bytes.h"

namespace vqdb::index {

enum class KeyKind : std::uint8_t {
  text,           // unsigned bytes
  collated_text,  // the weights of language 1
  number,         // 8-byte doubles, little-endian
  packed_number,  // 12-byte packed decimals
};

// The keys of a page: the first one, the distance from one to the next, and how many there are.
struct KeyRow {
  const Byte* first;
  std::size_t stride;
  std::uint32_t count;
};

struct KeyOrder {
  using Compare = int (*)(const Byte* a, const Byte* b, std::size_t length);
  using Bound = std::uint32_t (*)(const KeyRow& row, const Byte* key, std::size_t length);

  Compare compare;    // negative, 0 or positive
  Bound lower_bound;  // the first key equal to or above the given one; count when there is none
  Bound upper_bound;  // the first key above the given one; count when there is none
  bool (*has_place)(const Byte* key);  // a number that is none has no place in any order
};

// Constant data; a descending order is the ascending one with its keys swapped.
const KeyOrder& key_order(KeyKind kind, bool descending);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_KEYS_KEY_ORDER_H_
