#include "convert/dates.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "frame/bytes.h"

namespace vqdb::convert {
namespace {

enum class Part : std::uint8_t { month, day, year };

struct DateFormat {
  std::array<Part, 3> order;
  char separator;
};

constexpr std::array<Part, 3> kMonthFirst = {Part::month, Part::day, Part::year};
constexpr std::array<Part, 3> kDayFirst = {Part::day, Part::month, Part::year};
constexpr std::array<Part, 3> kYearFirst = {Part::year, Part::month, Part::day};

// By the number that dUsetdate takes.
constexpr std::array<DateFormat, 7> kFormats = {{{kMonthFirst, '/'},
                                                 {kYearFirst, '.'},
                                                 {kDayFirst, '/'},
                                                 {kDayFirst, '-'},
                                                 {kDayFirst, '.'},
                                                 {kMonthFirst, '-'},
                                                 {kYearFirst, '/'}}};

constexpr std::int32_t kYearLimit = 1'000'000;  // what is read never gets larger

const DateFormat& format_of(const VqBlock& block) {
  return kFormats[block.date_format < kFormats.size() ? block.date_format : 0];
}

// Like the other readers of numbers: leading blanks skipped, stops at what is no digit.
std::int32_t read_digits(const char* at, const char* end) {
  while (at != end && is_space(*at)) ++at;
  std::int32_t value = 0;
  while (at != end && is_digit(*at)) value = value * 10 + (*at++ - '0');
  return value;
}

char* write_digits(std::int32_t value, std::ptrdiff_t count, char* out) {
  for (char* at = out + count; at != out; value /= 10) *--at = static_cast<char>('0' + value % 10);
  return out + count;
}

// The date of eight digits, all at once; nothing when some byte is no digit.
std::optional<Date> read_eight_digits(const char* field) {
  constexpr std::uint64_t kHighHalves = 0xF0F0F0F0F0F0F0F0;
  constexpr std::uint64_t kZeros = 0x3030303030303030;
  constexpr std::uint64_t kSixes = 0x0606060606060606;
  std::uint64_t bytes;
  std::memcpy(&bytes, field, sizeof bytes);
  if ((bytes & kHighHalves) != kZeros || ((bytes + kSixes) & kHighHalves) != kZeros) {
    return std::nullopt;
  }
  // Each pair of digits becomes 10 * first + second, in its second byte.
  const std::uint64_t pairs = (bytes - kZeros) * (10 * 256 + 1) >> 8;
  const auto pair = [&](int i) { return static_cast<std::int32_t>(pairs >> (16 * i) & 0xFF); };
  return Date{pair(2), pair(3), pair(0) * 100 + pair(1)};
}

bool is_separator(char c) { return c == '/' || c == '.' || c == '-'; }

}  // namespace

Date read_date_field(const char* field) {
  if (const auto date = read_eight_digits(field)) return *date;
  if (std::string_view(field, kDateFieldWidth) == "        ") return kBlankDate;
  return {read_digits(field + 4, field + 6), read_digits(field + 6, field + 8),
          read_digits(field, field + 4)};
}

std::optional<std::int32_t> day_of_field(const char* field) {
  const Date date = read_date_field(field);
  if (!is_valid(date)) return std::nullopt;
  return day_number(date);
}

void write_date_field(const Date& date, char* field) {
  if (date == kBlankDate) {
    std::fill_n(field, kDateFieldWidth, ' ');
    return;
  }
  field = write_digits(date.year, 4, field);
  field = write_digits(date.month, 2, field);
  write_digits(date.day, 2, field);
}

std::size_t date_text_width(const VqBlock& block) { return block.century != 0 ? 10 : 8; }

void write_date_text(const VqBlock& block, std::int32_t day_number, char* text) {
  const DateFormat& format = format_of(block);
  const Date date = date_of(std::max(day_number, 1));
  const bool empty = day_number < 1;
  // A year of five digits has no text: stars, as in a number that does not fit.
  const char fill = empty ? ' ' : '*';
  const bool filled = empty || date.year > kLastWrittenYear;
  const std::ptrdiff_t year_digits = block.century != 0 ? 4 : 2;
  for (std::size_t i = 0; i < format.order.size(); ++i) {
    if (i > 0) *text++ = format.separator;
    const Part part = format.order[i];
    const std::ptrdiff_t digits = part == Part::year ? year_digits : 2;
    const std::int32_t value = part == Part::year    ? date.year
                               : part == Part::month ? date.month
                                                     : date.day;
    text = filled ? std::fill_n(text, digits, fill) : write_digits(value, digits, text);
  }
}

std::optional<std::int32_t> parse_date_text(const VqBlock& block, std::string_view text) {
  const char* at = text.data();
  const char* const end = at + text.size();
  const auto skip_blanks = [&] {
    while (at != end && is_space(*at)) ++at;
  };
  Date date;
  const std::array<Part, 3>& order = format_of(block).order;
  for (std::size_t i = 0; i < order.size(); ++i) {
    skip_blanks();
    if (i > 0) {
      if (at == end || !is_separator(*at)) return std::nullopt;
      ++at;
      skip_blanks();
    }
    const char* const first = at;
    std::int32_t value = 0;
    while (at != end && is_digit(*at)) value = std::min(value * 10 + (*at++ - '0'), kYearLimit);
    if (at == first) return std::nullopt;
    const bool short_year = at - first <= 2;
    switch (order[i]) {
      case Part::month:
        date.month = value;
        break;
      case Part::day:
        date.day = value;
        break;
      case Part::year:
        date.year = short_year ? 1900 + value : value;
        break;
    }
  }
  skip_blanks();
  if (at != end || !is_valid(date) || date.year > kLastWrittenYear) return std::nullopt;
  return day_number(date);
}

}  // namespace vqdb::convert
