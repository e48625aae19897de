// The orders of keys in an open index. A key is compared where it lies, over its full fixed length;
// an order also finds a key's place among the entries of a page.
#ifndef VQDBSYS_INDEX_KEYS_KEY_ORDER_H_
#define VQDBSYS_INDEX_KEYS_KEY_ORDER_H_

#include <bit>
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

// How the keys lie in the pages of a tree, and what a search in them needs of that.
struct KeyGrid {
  KeyGrid() = default;
  // REQUIRES a stride and room for a key, and a row shorter than 2^31 bytes.
  KeyGrid(std::uint32_t key_length, std::uint32_t distance, std::uint32_t room)
      : length(key_length),
        stride(distance),
        first_step(std::bit_floor(room)),
        inverse((std::uint64_t{1} << 32) / distance + 1) {}

  // Which key begins so many bytes behind the first one, without a division.
  std::uint32_t slot_at(std::size_t offset) const {
    return static_cast<std::uint32_t>(offset * inverse >> 32);
  }

  std::size_t length = 0;
  std::size_t stride = 0;        // from one key to the next
  std::uint32_t first_step = 0;  // the highest power of two that a page has room for
  std::uint64_t inverse = 0;     // of the stride, in 2^-32
};

struct KeyOrder {
  using Compare = int (*)(const Byte* a, const Byte* b, std::size_t length);
  using Bound = std::uint32_t (*)(const KeyGrid& grid, const Byte* first, std::uint32_t count,
                                  const Byte* key);

  Compare compare;  // negative, 0 or positive
  // Among the keys of a page, of which the first one is given and how many there are.
  Bound lower_bound;  // the first key equal to or above the given one; count when there is none
  Bound upper_bound;  // the first key above the given one; count when there is none
  bool (*has_place)(const Byte* key);  // a number that is none has no place in any order
};

// Constant data; a descending order is the ascending one with its keys swapped.
const KeyOrder& key_order(KeyKind kind, bool descending);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_KEYS_KEY_ORDER_H_
