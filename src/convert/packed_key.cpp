#include "convert/packed_key.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "convert/numbers.h"

namespace vqdb::convert {
namespace {

constexpr int kZeroPoint = 0x34;
constexpr int kMaxPoint = 0xFF - kZeroPoint;
constexpr int kMinPoint = -kZeroPoint;
constexpr Byte kZeroMark = 0x01;
constexpr Byte kNegative = 0x80;
constexpr Byte kFixedCount = 0x29;
constexpr std::size_t kDoubleDigits = 16;
constexpr std::size_t kMaxDigits = 20;

// A decimal number: sign, a point before all digits moved right by `point`, digits.
struct Decimal {
  std::array<char, kMaxDigits> digits;  // '0'..'9', the first of them not 0
  std::size_t count = 0;                // 0: the number is zero
  int point = 0;
  bool negative = false;
};

void pack(const Decimal& number, Byte count, Byte* key) {
  std::fill_n(key, kPackedKeyBytes, Byte{0});
  if (number.count == 0 || number.point < kMinPoint) {
    key[0] = kZeroPoint;
    key[1] = kZeroMark;
    return;
  }
  key[0] = static_cast<Byte>(number.point + kZeroPoint);
  key[1] = static_cast<Byte>(count | (number.negative ? kNegative : 0));
  for (std::size_t i = 0; i < number.count; ++i) {
    const int digit = number.digits[i] - '0';
    key[2 + i / 2] = static_cast<Byte>(key[2 + i / 2] | (i % 2 == 0 ? digit << 4 : digit));
  }
}

Decimal unpack(const Byte* key) {
  Decimal number;
  if (key[0] == kZeroPoint && key[1] == kZeroMark) return number;
  number.point = key[0] - kZeroPoint;
  number.negative = (key[1] & kNegative) != 0;
  for (; number.count < kMaxDigits; ++number.count) {
    const Byte pair = key[2 + number.count / 2];
    const int digit = number.count % 2 == 0 ? pair >> 4 : pair & 0x0F;
    if (digit > 9) break;  // damaged
    number.digits[number.count] = static_cast<char>('0' + digit);
  }
  return number;
}

// What reading a text tells besides its digits.
struct TextDecimal {
  Decimal number;
  bool fraction = false;  // some digit behind the point is not 0
  bool exponent = false;  // the text goes on with an exponent
};

TextDecimal read_decimal(std::string_view text) {
  TextDecimal read;
  Decimal& number = read.number;
  std::size_t at = 0;
  while (at < text.size() && is_space(text[at])) ++at;
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) number.negative = text[at++] == '-';
  bool behind_point = false;
  std::size_t kept = 0;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '.' && !behind_point) {
      behind_point = true;
      continue;
    }
    if (!is_digit(c)) break;
    if (c == '0' && kept == 0) {
      if (behind_point) --number.point;
      continue;
    }
    number.digits[kept++] = c;
    if (!behind_point) ++number.point;
    if (behind_point && c == '0') continue;
    number.count = kept;
    read.fraction = behind_point;
  }
  read.exponent = at < text.size() && to_upper(text[at]) == 'E';
  return read;
}

// Adds one to the number whose last digit lies before `end`. REQUIRES a digit other than 9.
void round_up(char* end) {
  while (*--end == '9') *end = '0';
  ++*end;
}

}  // namespace

void pack_number(double value, Byte* key) {
  Decimal number;
  number.negative = value < 0;
  if (value == 0 || std::isnan(value)) return pack(number, kFixedCount, key);
  constexpr int kSignificantDigits = 25;
  std::array<char, kSignificantDigits + 16> text = {};
  if (std::isfinite(value)) {
    const char* const end = std::to_chars(text.data(), text.data() + text.size(), std::fabs(value),
                                          std::chars_format::scientific, kSignificantDigits - 1)
                                .ptr;
    const char* const exponent = std::find(static_cast<const char*>(text.data()), end, 'e') + 1;
    std::from_chars(*exponent == '+' ? exponent + 1 : exponent, end, number.point);
    ++number.point;
    text[1] = text[0];  // over the point
    std::copy_n(text.data() + 1, kDoubleDigits, number.digits.data());
  }
  if (!std::isfinite(value) || number.point > kMaxPoint) {
    number.point = kMaxPoint;
    std::fill_n(number.digits.data(), kDoubleDigits, '9');
  }
  number.count = kDoubleDigits;
  pack(number, kFixedCount, key);
}

void pack_text(std::string_view text, Byte* key) {
  const TextDecimal read = read_decimal(text);
  if (read.exponent) return pack_number(parse_number(text), key);
  // Without a fraction the count is always 10, however many digits there are: so are the keys that
  // other programs know.
  const auto count = static_cast<Byte>(read.fraction ? read.number.count << 2 | 1 : kFixedCount);
  pack(read.number, count, key);
}

double unpack_number(const Byte* key) {
  const Decimal number = unpack(key);
  std::array<char, kMaxDigits + 8> text;  // sign, point, digits, exponent
  char* at = text.data();
  if (number.negative) *at++ = '-';
  *at++ = '.';
  at = std::copy_n(number.digits.data(), number.count, at);
  *at++ = 'E';
  at = std::to_chars(at, text.data() + text.size(), number.point).ptr;
  return parse_number({text.data(), static_cast<std::size_t>(at - text.data())});
}

bool unpack_text(const Byte* key, std::int32_t width, std::int32_t decimals, char* text) {
  constexpr std::int32_t kMaxWidth = 254;
  const Decimal number = unpack(key);
  if (number.point > width) return false;
  // A sign, a place for the point, one for a carry, integer digits, decimals.
  std::array<char, 2 * kMaxWidth + 4> result;
  char* const first = result.data() + 3;
  const std::int32_t integers = std::max(number.point, 1);
  char* const end = first + integers + decimals;
  std::fill(result.data(), end, '0');
  // The first digit that goes in, seen from the first place of the result.
  const std::int32_t start = integers - number.point;
  const auto room =
      std::clamp<std::ptrdiff_t>(end - first - start, 0, static_cast<std::ptrdiff_t>(number.count));
  if (room > 0) std::copy_n(number.digits.data(), room, first + start);
  const bool cut = start <= end - first && static_cast<std::size_t>(room) < number.count;
  if (cut && number.digits[static_cast<std::size_t>(room)] >= '5') round_up(end);
  const bool zero = std::all_of(first - 1, end, [](char c) { return c == '0'; });
  char* begin = *(first - 1) == '0' ? first : first - 1;
  // Make room for the point by moving the integers, then the sign in front of them.
  if (decimals > 0) {
    std::copy(begin, end - decimals, begin - 1);
    --begin;
    end[-decimals - 1] = '.';
  }
  if (number.negative && !zero) *--begin = '-';
  return right_align({begin, static_cast<std::size_t>(end - begin)}, width, text);
}

}  // namespace vqdb::convert
