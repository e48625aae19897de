// Index keys: doubles, order-preserving doubles, texts and packed decimals, chosen by a kind word.
#ifndef VQDBSYS_CONVERT_KEYS_H_
#define VQDBSYS_CONVERT_KEYS_H_

#include <cstdint>
#include <string_view>

#include "convert/calendar.h"
#include "convert/packed_key.h"
#include "frame/bytes.h"
#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::convert {

// Bits of the kind word; without any of them a numeric key is packed decimal, 12 bytes.
namespace key_kind {
inline constexpr std::uint32_t kPacked = VQ_KEY_PACKED;
inline constexpr std::uint32_t kDouble = 2;  // VQ_KEY_DOUBLE is another bit for the same
inline constexpr std::uint32_t kDoubleBits = VQ_KEY_DOUBLE | kDouble;
inline constexpr std::uint32_t kOrdered = VQ_KEY_ORDERED;  // order-preserving double, 8 bytes
inline constexpr std::uint32_t kText = VQ_KEY_TEXT;
}  // namespace key_kind

inline constexpr std::size_t kDoubleKeyBytes = 8;

void encode_number(std::uint32_t kind, double value, Byte* key);
// From the text of a numeric field; wider than 20 gives -4, detail 4081.
Result encode_number_field(VqBlock* block, std::uint32_t kind, std::string_view field, Byte* key);
// Decodes a double, ordered double or packed key.
double decode_number(std::uint32_t kind, const Byte* key);
// A numeric key as the text of a numeric field; see format_number. The digits of a packed key do
// not go through a double. A text key is copied.
void write_key_text(std::uint32_t kind, const Byte* key, std::int32_t width, std::int32_t decimals,
                    char* text);

// kBlankDate gives the blank key of the kind; an invalid date -4, detail 4021.
Result encode_date(VqBlock* block, std::uint32_t kind, const Date& date, Byte* key);
Result encode_date_field(VqBlock* block, std::uint32_t kind, const char* field, Byte* key);
Date decode_date(std::uint32_t kind, const Byte* key);

}  // namespace vqdb::convert

#endif  // VQDBSYS_CONVERT_KEYS_H_
