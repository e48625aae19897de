// Comparison of two keys, kind by kind. Each compares over the whole key and answers negative, 0 or
// positive.
#ifndef VQDBSYS_INDEX_KEYS_KEY_COMPARE_H_
#define VQDBSYS_INDEX_KEYS_KEY_COMPARE_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/bytes.h"

namespace vqdb::index {

// Eight bytes as a number that orders as the bytes do.
inline std::uint64_t load_be64(const Byte* from) {
  std::uint64_t value = 0;
  std::memcpy(&value, from, sizeof value);
  return __builtin_bswap64(value);
}

inline int compare_texts(const Byte* a, const Byte* b, std::size_t length) {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  if (length < kWord) return std::memcmp(a, b, length);
  const std::uint64_t head_a = load_be64(a);
  const std::uint64_t head_b = load_be64(b);
  if (head_a != head_b) return head_a < head_b ? -1 : 1;
  return std::memcmp(a + kWord, b + kWord, length - kWord);
}

int compare_collated(const Byte* a, const Byte* b, std::size_t length);

inline int compare_numbers(const Byte* a, const Byte* b, std::size_t) {
  const double x = load_double(a);
  const double y = load_double(b);
  return static_cast<int>(x > y) - static_cast<int>(x < y);
}

// Sign, exponent, digits; the count of digits beside the sign does not matter, since writers
// differ in it.
int compare_packed(const Byte* a, const Byte* b, std::size_t length);

inline bool packed_is_negative(const Byte* key) { return (key[1] & 0x80) != 0; }
inline bool packed_is_zero(const Byte* key) { return key[0] == 0x34 && key[1] == 0x01; }

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_KEYS_KEY_COMPARE_H_
