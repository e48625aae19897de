#include "convert/numbers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

#include "convert/powers_of_ten.h"
#include "frame/bytes.h"

namespace vqdb::convert {
namespace {

constexpr std::ptrdiff_t kDigitsInWord = 19;  // any so many digits fit in 64 bits

constexpr std::size_t kMaxFieldWidth = 254;
// Integer digits of the largest double, decimals of the widest field, sign and point.
constexpr std::size_t kFixedText = 309 + kMaxFieldWidth + 2;

// Where a number lies in a text: [digits, end) without its sign.
struct Extent {
  const char* digits = nullptr;
  const char* end = nullptr;
  bool negative = false;
};

const char* skip_digits(const char* at, const char* end) {
  while (at != end && is_digit(*at)) ++at;
  return at;
}

// The end of an exponent that starts here, or `at` itself when none does.
const char* skip_exponent(const char* at, const char* end) {
  if (at == end || to_upper(*at) != 'E') return at;
  const char* digits = at + 1;
  if (digits != end && (*digits == '+' || *digits == '-')) ++digits;
  const char* const last = skip_digits(digits, end);
  return last == digits ? at : last;
}

// Numbers that no double holds: infinite when large, else zero.
double out_of_range(const Extent& number) {
  std::int64_t position = 0;  // of the point, seen from the first digit that is not 0
  const char* at = number.digits;
  bool significant = false;
  bool fraction = false;
  for (; at != number.end && to_upper(*at) != 'E'; ++at) {
    if (*at == '.') {
      fraction = true;
      continue;
    }
    significant = significant || *at != '0';
    if (!fraction && significant) ++position;
    if (fraction && !significant) --position;
  }
  std::int64_t exponent = 0;
  if (at != number.end) {
    const bool negative = at[1] == '-';
    for (const char* digit = at + 1; digit != number.end; ++digit) {
      if (is_digit(*digit))
        exponent = std::min<std::int64_t>(exponent * 10 + (*digit - '0'), 1 << 30);
    }
    if (negative) exponent = -exponent;
  }
  return position + exponent > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

double parse_extent(const Extent& number) {
  double value = 0.0;
  const auto parsed = std::from_chars(number.digits, number.end, value);
  if (parsed.ec == std::errc::result_out_of_range) value = out_of_range(number);
  return number.negative ? -value : value;
}

// Fields of numbers hold 8 to 16 characters as a rule: blanks, a minus, digits with a point. These
// are read as two words of eight characters, the first one in the lowest byte.
struct Characters {
  static constexpr std::size_t kWord = sizeof(std::uint64_t);
  static constexpr std::size_t kMost = 2 * kWord;

  static constexpr std::uint64_t all(char c) {
    return std::uint64_t{0x0101010101010101} * static_cast<Byte>(c);
  }
  // So many bytes from the lowest on.
  static constexpr std::uint64_t front(std::size_t bytes) {
    return bytes >= kWord ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * bytes)) - 1;
  }
  // The first byte that is not 0; kWord where all are.
  static std::size_t first_set(std::uint64_t word) {
    return static_cast<std::size_t>(std::countr_zero(word)) / 8;
  }
  static std::uint64_t load(const char* from) {
    std::uint64_t word;
    std::memcpy(&word, from, sizeof word);
    return word;
  }

  // REQUIRES kWord <= text.size() <= kMost. Right-aligned behind blanks.
  explicit Characters(std::string_view text)
      : high(load(text.data())), low(load(text.data() + text.size() - kWord)) {
    const std::size_t missing = kMost - text.size();
    const std::uint64_t shifted = missing < kWord ? high << (8 * missing) : 0;
    high = shifted | (all(' ') & front(missing));
  }

  // Takes out the first point: what stands before it moves up behind another blank. Gives how many
  // characters stand behind it; kMost where there is none.
  std::size_t take_point() {
    if (const std::size_t at = find_point(high); at < kWord) {
      high = without(high, at, ' ');
      return kMost - 1 - at;
    }
    const std::size_t at = find_point(low);
    if (at >= kWord) return kMost;
    low = without(low, at, static_cast<char>(high >> 56));
    high = high << 8 | Byte{' '};
    return kWord - 1 - at;
  }

  std::size_t leading_blanks() const {
    const std::size_t blanks = first_set(high ^ all(' '));
    return blanks < kWord ? blanks : kWord + first_set(low ^ all(' '));
  }
  char at(std::size_t place) const {
    const std::uint64_t word = place < kWord ? high : low;
    return static_cast<char>(word >> (8 * (place % kWord)));
  }
  void fill_front_with_zeros(std::size_t count) {
    const auto fill = [](std::uint64_t& word, std::size_t bytes) {
      word = (word & ~front(bytes)) | (all('0') & front(bytes));
    };
    fill(high, count);
    if (count > kWord) fill(low, count - kWord);
  }

  bool are_digits() const { return are_digits(high) && are_digits(low); }
  // REQUIRES are_digits().
  std::uint64_t number() const { return number(high) * 100000000 + number(low); }

  std::uint64_t high;  // the front eight
  std::uint64_t low;

 private:
  static std::size_t find_point(std::uint64_t word) {
    const std::uint64_t others = word ^ all('.');
    return first_set((others - all(1)) & ~others & all('\x80'));
  }
  // The characters before the place move up by one, and another comes in front.
  static std::uint64_t without(std::uint64_t word, std::size_t place, char in_front) {
    const std::uint64_t before = (word & front(place)) << 8 | static_cast<Byte>(in_front);
    return (word & ~front(place + 1)) | before;
  }
  static bool are_digits(std::uint64_t word) {
    const std::uint64_t upper = all('\xF0');
    return (word & upper) == all('0') && ((word + all(6)) & upper) == all('0');
  }
  // Neighbouring digits become pairs, then fours, then eight.
  static std::uint64_t number(std::uint64_t word) {
    constexpr std::uint64_t kPairs = 0x000000FF000000FF;
    word -= all('0');
    word = word * 10 + (word >> 8);
    const std::uint64_t even = (word & kPairs) * (100 + (std::uint64_t{1000000} << 32));
    const std::uint64_t odd = ((word >> 16) & kPairs) * (1 + (std::uint64_t{10000} << 32));
    return (even + odd) >> 32;
  }
};

// False where the text is no number of the usual form.
bool parse_usual(std::string_view text, double& value) {
  Characters characters(text);
  std::size_t front = characters.leading_blanks();
  const bool negative = front < Characters::kMost && characters.at(front) == '-';
  if (negative) ++front;
  std::size_t decimals = characters.take_point();
  if (decimals == Characters::kMost) {
    decimals = 0;
  } else {
    ++front;
  }
  if (front >= Characters::kMost) return false;
  characters.fill_front_with_zeros(front);
  if (!characters.are_digits()) return false;
  const std::uint64_t mantissa = characters.number();
  if (mantissa > kExactIntegers) return false;
  value = static_cast<double>(static_cast<std::int64_t>(mantissa)) /
          power_of_ten(static_cast<std::ptrdiff_t>(decimals));
  if (negative) value = -value;
  return true;
}

// Writes the value in fixed-point form and gives the end of the text.
char* write_fixed(double value, std::int32_t decimals, std::array<char, kFixedText>& text) {
  if (decimals == 0 && std::fabs(value) < static_cast<double>(kExactIntegers) &&
      value == std::trunc(value)) {
    return std::to_chars(text.data(), text.data() + text.size(), static_cast<std::int64_t>(value))
        .ptr;
  }
  char* end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed,
                            decimals)
                  .ptr;
  // A number that rounds to nothing has no sign.
  const bool zero =
      std::all_of(text.data(), end, [](char c) { return c == '-' || c == '.' || c == '0'; });
  if (zero && text[0] == '-') end = std::copy(text.data() + 1, end, text.data());
  return end;
}

// Writes a sign character, a point, `digits` mantissa digits and the exponent; false when that
// makes another width than the field's.
bool write_exponent_form(double value, std::ptrdiff_t digits, char* field, std::ptrdiff_t width) {
  std::array<char, kMaxFieldWidth + 16> text;
  const char* const end = std::to_chars(text.data(), text.data() + text.size(), std::fabs(value),
                                        std::chars_format::scientific, static_cast<int>(digits - 1))
                              .ptr;
  const char* const mark = std::find(static_cast<const char*>(text.data()), end, 'e');
  int exponent = 0;
  std::from_chars(mark + (mark[1] == '+' ? 2 : 1), end, exponent);
  ++exponent;  // the point stands before the first digit here
  std::array<char, 8> exponent_text;
  const char* const exponent_end =
      std::to_chars(exponent_text.data(), exponent_text.data() + exponent_text.size(),
                    std::abs(exponent))
          .ptr;
  const std::ptrdiff_t exponent_digits = exponent_end - exponent_text.data();
  if (4 + digits + exponent_digits != width) return false;
  *field++ = value < 0 ? '-' : ' ';
  *field++ = '.';
  for (const char* at = text.data(); at != mark; ++at) {
    if (*at != '.') *field++ = *at;
  }
  *field++ = 'E';
  *field++ = exponent < 0 ? '-' : '+';
  std::copy(static_cast<const char*>(exponent_text.data()), exponent_end, field);
  return true;
}

bool write_exponent_form(double value, char* field, std::ptrdiff_t width) {
  if (!std::isfinite(value)) return false;
  for (std::ptrdiff_t exponent_digits = 1; exponent_digits <= 3; ++exponent_digits) {
    const std::ptrdiff_t digits = width - 4 - exponent_digits;
    if (digits < 1) return false;
    if (write_exponent_form(value, digits, field, width)) return true;
  }
  return false;
}

// A sign goes before the zeros, where it reads back.
void fill_with_zeros(char* field, std::ptrdiff_t width) {
  char* const text = std::find_if(field, field + width, [](char c) { return c != ' '; });
  const bool negative = text != field + width && *text == '-';
  std::fill(field, negative ? text + 1 : text, '0');
  if (negative) field[0] = '-';
}

}  // namespace

double parse_number(std::string_view text) {
  double usual = 0;
  if (text.size() >= Characters::kWord && text.size() <= Characters::kMost &&
      parse_usual(text, usual)) {
    return usual;
  }
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end && is_space(*at)) ++at;
  Extent number;
  if (at != end && (*at == '-' || *at == '+')) number.negative = *at++ == '-';
  number.digits = at;
  std::uint64_t mantissa = 0;
  while (at != end && is_digit(*at)) mantissa = mantissa * 10 + static_cast<unsigned>(*at++ - '0');
  std::ptrdiff_t digits = at - number.digits;
  std::ptrdiff_t decimals = 0;
  if (at != end && *at == '.') {
    const char* const first = ++at;
    while (at != end && is_digit(*at))
      mantissa = mantissa * 10 + static_cast<unsigned>(*at++ - '0');
    decimals = at - first;
    digits += decimals;
  }
  if (digits == 0) return 0.0;
  number.end = skip_exponent(at, end);
  // A mantissa and a power of ten that doubles hold exactly give the nearest double.
  if (number.end == at && digits <= kDigitsInWord && mantissa <= kExactIntegers) {
    const double value =
        static_cast<double>(static_cast<std::int64_t>(mantissa)) / power_of_ten(decimals);
    return number.negative ? -value : value;
  }
  return parse_extent(number);
}

void format_number(const VqBlock* block, double value, std::int32_t width, std::int32_t decimals,
                   char* field) {
  constexpr std::uint32_t kLeadingZeros = 16;
  if (!format_fixed(value, width, decimals, field) && !write_exponent_form(value, field, width)) {
    std::fill_n(field, width, '*');
    return;
  }
  if (block != nullptr && block->kind == kLeadingZeros) fill_with_zeros(field, width);
}

bool format_fixed(double value, std::int32_t width, std::int32_t decimals, char* field) {
  if (!std::isfinite(value)) return false;
  std::array<char, kFixedText> text;
  const char* const end = write_fixed(value, decimals, text);
  return right_align({text.data(), static_cast<std::size_t>(end - text.data())}, width, field);
}

bool right_align(std::string_view number, std::int32_t width, char* field) {
  const bool negative = number.front() == '-';
  if (negative) number.remove_prefix(1);
  const auto sign = static_cast<std::ptrdiff_t>(negative);
  std::ptrdiff_t blanks = width - std::ssize(number) - sign;
  if (blanks < 0 && number.starts_with("0.")) {
    number.remove_prefix(1);
    ++blanks;
  }
  if (blanks < 0) return false;
  field = std::fill_n(field, blanks, ' ');
  if (negative) *field++ = '-';
  std::copy(number.begin(), number.end(), field);
  return true;
}

}  // namespace vqdb::convert
