#include "expr/run.h"

#include <algorithm>
#include <limits>

#include "convert/dates.h"
#include "convert/numbers.h"

namespace vqdb::expr {

namespace {

// 31 December 9999.
constexpr std::int32_t kLastDay = 3652059;

constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int32_t>::min();

}  // namespace

std::int32_t whole_day(double day) {
  return day >= 1 && day < kLastDay + 1.0 ? static_cast<std::int32_t>(day) : 0;
}

std::int32_t whole_number(double number) {
  if (number != number) return 0;
  return static_cast<std::int32_t>(
      std::clamp(number, static_cast<double>(kSmallest), static_cast<double>(kLargest)));
}

std::int32_t whole_number(std::string_view text) {
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  std::int64_t number = 0;
  for (const char c : text) {
    if (!is_digit(c)) break;
    number = std::min(number * 10 + (c - '0'), kLargest + 1);
  }
  return static_cast<std::int32_t>(std::clamp(negative ? -number : number, kSmallest, kLargest));
}

table::Table* Run::table() const { return table::find_live(table_); }

double Run::number_of_field(const Value& value) const {
  const double number = convert::parse_number(text(value));
  return value.field.negated ? -number : number;
}

double Run::day_of_field(const Value& value) const {
  return convert::day_of_field(record_ + value.field.offset).value_or(0);
}

std::int32_t Run::integer(const Value& value) const {
  if (value.form == Form::number) return whole_number(value.number);
  if (value.form == Form::number_literal) return value.number_literal.integer;
  const std::int32_t number = whole_number(text(value));
  // The smallest number has no positive counterpart.
  return value.field.negated ? static_cast<std::int32_t>(std::min(-std::int64_t{number}, kLargest))
                             : number;
}

char* Run::make_text(Value& result, std::size_t length) {
  char* place = result.inline_text;
  result.form = Form::inline_text;
  if (length > kInlineText) {
    place = texts_.allocate(length);
    if (place == nullptr) return nullptr;
    result.form = Form::text;
    result.text = place;
  }
  result.length = static_cast<std::int32_t>(length);
  return place;
}

Result Run::copy_text(Value& result, std::string_view text) {
  char* place = make_text(result, text.size());
  if (place == nullptr) return Result::no_memory;
  std::copy(text.begin(), text.end(), place);
  return Result::ok;
}

}  // namespace vqdb::expr
