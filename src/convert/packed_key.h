// Packed decimal keys, 12 bytes: byte 0 is the position of the decimal point, seen from the first
// digit, plus 0x34; bit 7 of byte 1 the sign, its other bits a count of digits that no comparison
// looks at; then up to 20 decimal digits, two a byte, the first one not 0. Zero is 0x34, 0x01 and
// zeros. Keys of one sign order as their point bytes, then as their digit bytes.
#ifndef VQDBSYS_CONVERT_PACKED_KEY_H_
#define VQDBSYS_CONVERT_PACKED_KEY_H_

#include <cstdint>
#include <string_view>

#include "frame/bytes.h"

namespace vqdb::convert {

inline constexpr std::size_t kPackedKeyBytes = 12;
inline constexpr std::size_t kMaxPackedText = 20;

// The first 16 of the value's 25 significant digits. Values beyond the point's range keep their
// order as well as can be: the small ones are zero, the large ones all nines.
void pack_number(double value, Byte* key);
// All digits of a decimal text, none lost to a double; a text with an exponent goes through its
// value. REQUIRES at most kMaxPackedText characters.
void pack_text(std::string_view text, Byte* key);

double unpack_number(const Byte* key);
// Writes the key's digits, right-aligned in width, rounded half up at the given decimals; false
// when they do not fit. REQUIRES 1 <= width <= 254 and 0 <= decimals < width.
bool unpack_text(const Byte* key, std::int32_t width, std::int32_t decimals, char* text);

}  // namespace vqdb::convert

#endif  // VQDBSYS_CONVERT_PACKED_KEY_H_
