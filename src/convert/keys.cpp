#include "convert/keys.h"

#include <algorithm>
#include <array>
#include <limits>

#include "convert/dates.h"
#include "convert/numbers.h"
#include "convert/packed_key.h"

namespace vqdb::convert {
namespace {

constexpr Operation kDateToKey{402};
constexpr Operation kFieldToNumericKey{408};

// A date key of kind 1 or 2 that stands for the blank date: the low bytes of 1e100 as a list of
// 32-bit slots would hold them, not the bytes of 1e100. It reads as a tiny number, so as blank.
constexpr std::array<Byte, kDoubleKeyBytes> kBlankDoubleKey = {0x7D, 0, 0, 0, 0xC3, 0, 0, 0};
constexpr std::array<Byte, kDoubleKeyBytes> kBlankOrderedKey = {0x80, 0, 0, 0, 0, 0, 0, 0};

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;

// Most significant byte first, so that the bytes compare as the numbers do.
void store_ordered(double value, Byte* key) {
  if (value == 0) value = 0;  // one key for both zeros
  std::uint64_t bits = std::bit_cast<std::uint64_t>(value);
  bits = (bits & kSignBit) != 0 ? ~bits : bits | kSignBit;
  for (std::size_t i = kDoubleKeyBytes; i-- > 0; bits >>= 8) key[i] = static_cast<Byte>(bits);
}

double load_ordered(const Byte* key) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < kDoubleKeyBytes; ++i) bits = bits << 8 | key[i];
  return std::bit_cast<double>((bits & kSignBit) != 0 ? bits & ~kSignBit : ~bits);
}

}  // namespace

void encode_number(std::uint32_t kind, double value, Byte* key) {
  if ((kind & key_kind::kText) != 0) return;
  if ((kind & key_kind::kOrdered) != 0) return store_ordered(value, key);
  if ((kind & key_kind::kDoubleBits) != 0) return store_double(key, value);
  pack_number(value, key);
}

Result encode_number_field(VqBlock* block, std::uint32_t kind, std::string_view field, Byte* key) {
  if (field.size() > kMaxPackedText) {
    return fail(block, Result::out_of_range, kFieldToNumericKey.detail(1));
  }
  if ((kind & key_kind::kText) != 0) {
    std::copy(field.begin(), field.end(), key);
  } else if ((kind & (key_kind::kOrdered | key_kind::kDoubleBits)) != 0) {
    encode_number(kind, parse_number(field), key);
  } else {
    pack_text(field, key);
  }
  return Result::ok;
}

double decode_number(std::uint32_t kind, const Byte* key) {
  if ((kind & key_kind::kOrdered) != 0) return load_ordered(key);
  if ((kind & key_kind::kDoubleBits) != 0) return load_double(key);
  return unpack_number(key);
}

void write_key_text(std::uint32_t kind, const Byte* key, std::int32_t width, std::int32_t decimals,
                    char* text) {
  if ((kind & key_kind::kText) != 0) {
    std::copy_n(key, width, text);
    return;
  }
  const bool packed = (kind & (key_kind::kOrdered | key_kind::kDoubleBits)) == 0;
  if (packed && unpack_text(key, width, decimals, text)) return;
  format_number(nullptr, decode_number(kind, key), width, decimals, text);
}

Result encode_date(VqBlock* block, std::uint32_t kind, const Date& date, Byte* key) {
  const bool blank = date == kBlankDate;
  const bool text = (kind & key_kind::kText) != 0;
  if (!blank && (!is_valid(date) || (text && date.year > kLastWrittenYear))) {
    return fail(block, Result::out_of_range, kDateToKey.detail(1));
  }
  if (text) {
    write_date_field(date, reinterpret_cast<char*>(key));
    return Result::ok;
  }
  const bool ordered = (kind & key_kind::kOrdered) != 0;
  if (!ordered && (kind & key_kind::kDoubleBits) == 0) return Result::ok;
  if (blank) {
    const auto& bytes = ordered ? kBlankOrderedKey : kBlankDoubleKey;
    std::copy(bytes.begin(), bytes.end(), key);
  } else {
    encode_number(kind, double{kJulianOffset} + day_number(date), key);
  }
  return Result::ok;
}

Result encode_date_field(VqBlock* block, std::uint32_t kind, const char* field, Byte* key) {
  return encode_date(block, kind, read_date_field(field), key);
}

Date decode_date(std::uint32_t kind, const Byte* key) {
  if ((kind & key_kind::kText) != 0) return read_date_field(reinterpret_cast<const char*>(key));
  if ((kind & (key_kind::kOrdered | key_kind::kDoubleBits)) == 0) return kBlankDate;
  const double day = decode_number(kind, key) - kJulianOffset;
  // Also what is no number at all.
  if (!(day >= 1 && day <= std::numeric_limits<std::int32_t>::max())) return kBlankDate;
  return date_of(static_cast<std::int32_t>(day));
}

}  // namespace vqdb::convert
