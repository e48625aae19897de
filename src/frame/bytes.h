// Little-endian numbers as every file format stores them, and doubles as index keys store them.
#ifndef VQDBSYS_FRAME_BYTES_H_
#define VQDBSYS_FRAME_BYTES_H_

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vqdb {

using Byte = std::uint8_t;

static_assert(std::endian::native == std::endian::little);

inline std::uint16_t load_le16(const void* from) {
  std::uint16_t value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

inline std::uint32_t load_le32(const void* from) {
  std::uint32_t value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

inline std::uint64_t load_le64(const void* from) {
  std::uint64_t value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

inline double load_double(const void* from) {
  double value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

inline void store_le16(void* to, std::uint16_t value) { std::memcpy(to, &value, sizeof value); }
inline void store_le32(void* to, std::uint32_t value) { std::memcpy(to, &value, sizeof value); }
inline void store_double(void* to, double value) { std::memcpy(to, &value, sizeof value); }

// Copies bytes of a length that only the caller's data knows, as keys and fields have: up to 32 by
// two moves that may overlap, where a call or a string instruction costs more than the copy itself.
// REQUIRES that the two do not overlap.
inline void copy_short(void* to, const void* from, std::size_t length) {
  const auto in_two = [=]<typename Half>(Half) {
    Half front;
    Half back;
    std::memcpy(&front, from, sizeof front);
    std::memcpy(&back, static_cast<const Byte*>(from) + length - sizeof back, sizeof back);
    std::memcpy(to, &front, sizeof front);
    std::memcpy(static_cast<Byte*>(to) + length - sizeof back, &back, sizeof back);
  };
  using Sixteen = std::array<std::uint64_t, 2>;
  if (length > 32) {
    std::memcpy(to, from, length);
  } else if (length >= 16) {
    in_two(Sixteen());
  } else if (length >= 8) {
    in_two(std::uint64_t());
  } else if (length >= 4) {
    in_two(std::uint32_t());
  } else if (length >= 2) {
    in_two(std::uint16_t());
  } else if (length == 1) {
    in_two(Byte());
  }
}

// ASCII letters and white space, whatever the locale.
inline char to_upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }
inline char to_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
inline bool is_digit(char c) { return c >= '0' && c <= '9'; }
inline bool is_letter(char c) { return to_upper(c) >= 'A' && to_upper(c) <= 'Z'; }
inline bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

inline bool equal_ignoring_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (to_upper(a[i]) != to_upper(b[i])) return false;
  }
  return true;
}

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_BYTES_H_
