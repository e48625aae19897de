#include <algorithm>
#include <array>

#include "convert/calendar.h"
#include "convert/dates.h"
#include "expr/functions.h"
#include "platform/clock.h"

namespace vqdb::expr::dates {

namespace {

constexpr std::string_view kUnknown = "Unknown";  // the day and month of the empty date

}  // namespace

// ---- Rules

Result date_text_rule(const VqBlock& block, Arguments, Value& result) {
  result.shape_text(static_cast<std::int32_t>(convert::date_text_width(block)));
  return Result::ok;
}

Result long_date_rule(const VqBlock& block, Arguments, Value& result) {
  result.shape_text(block.century != 0 ? 18 : 16);
  return Result::ok;
}

namespace {

// hh:mm:ss, and .hh when any argument asks for hundredths.
constexpr std::int32_t kTimeWidth = 8;
constexpr std::int32_t kLongTimeWidth = 11;

}  // namespace

Result time_rule(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_text(arguments.size() > 0 ? kLongTimeWidth : kTimeWidth);
  return Result::ok;
}

// ---- Handlers

namespace {

std::int32_t day_argument(const Run& run, Arguments arguments) {
  return whole_day(run.day(arguments[0]));
}

// The same as month, day and year, all 0 for the empty date. A field has them as they are.
convert::Date date_argument(const Run& run, Arguments arguments) {
  const Value& value = arguments[0];
  if (value.form == Form::field) {
    const convert::Date date = convert::read_date_field(run.text(value).data());
    return convert::is_valid(date) ? date : convert::Date{};
  }
  const std::int32_t day = whole_day(run.day(value));
  return day == 0 ? convert::Date{} : convert::date_of(day);
}

}  // namespace

Result cdow(Run& run, Arguments arguments, Value& result) {
  const std::int32_t day = day_argument(run, arguments);
  result.set_text(day == 0 ? kUnknown : convert::kDayNames[static_cast<std::size_t>(day % 7)]);
  return Result::ok;
}

namespace {

std::string_view month_name(const convert::Date& date) {
  return date.month == 0 ? kUnknown
                         : convert::kMonthNames[static_cast<std::size_t>(date.month - 1)];
}

}  // namespace

Result cmonth(Run& run, Arguments arguments, Value& result) {
  result.set_text(month_name(date_argument(run, arguments)));
  return Result::ok;
}

Result ctod(Run& run, Arguments arguments, Value& result) {
  result.set_number(convert::parse_date_text(run.block(), run.text(arguments[0])).value_or(0));
  return Result::ok;
}

Result date(Run&, Arguments, Value& result) {
  result.set_number(convert::day_number(convert::today()));
  return Result::ok;
}

Result day(Run& run, Arguments arguments, Value& result) {
  result.set_number(date_argument(run, arguments).day);
  return Result::ok;
}

Result month(Run& run, Arguments arguments, Value& result) {
  result.set_number(date_argument(run, arguments).month);
  return Result::ok;
}

Result year(Run& run, Arguments arguments, Value& result) {
  result.set_number(date_argument(run, arguments).year);
  return Result::ok;
}

Result dow(Run& run, Arguments arguments, Value& result) {
  const std::int32_t number = day_argument(run, arguments);
  result.set_number(number == 0 ? 0 : number % 7 + 1);
  return Result::ok;
}

namespace {

char* put(std::string_view text, char* out) { return std::copy(text.begin(), text.end(), out); }

// A number in so many characters, filled in front.
char* put_digits(std::int32_t value, std::ptrdiff_t count, char fill, char* out) {
  char* const end = out + count;
  char* at = end;
  do {
    *--at = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0 && at != out);
  std::fill(out, at, fill);
  return end;
}

char* put_year(const VqBlock& block, std::int32_t year, char* out) {
  return block.century != 0 ? put_digits(year, 4, '0', out) : put_digits(year % 100, 2, '0', out);
}

constexpr std::size_t kLongDate = 24;

}  // namespace

Result dmy(Run& run, Arguments arguments, Value& result) {
  const convert::Date date = date_argument(run, arguments);
  std::array<char, kLongDate> text;
  char* end = put_digits(date.day, 2, ' ', text.data());
  *end++ = ' ';
  end = put(month_name(date), end);
  *end++ = ' ';
  end = put_year(run.block(), date.year, end);
  return run.copy_text(result, {text.data(), static_cast<std::size_t>(end - text.data())});
}

// The empty date's day is 00 here, though other days below 10 have a blank.
Result mdy(Run& run, Arguments arguments, Value& result) {
  const convert::Date date = date_argument(run, arguments);
  std::array<char, kLongDate> text;
  char* end = put(month_name(date), text.data());
  *end++ = ' ';
  end = put_digits(date.day, 2, date.day == 0 ? '0' : ' ', end);
  end = put(", ", end);
  end = put_year(run.block(), date.year, end);
  return run.copy_text(result, {text.data(), static_cast<std::size_t>(end - text.data())});
}

Result dtoc(Run& run, Arguments arguments, Value& result) {
  char* place = run.make_text(result, convert::date_text_width(run.block()));
  if (place == nullptr) return Result::no_memory;
  convert::write_date_text(run.block(), day_argument(run, arguments), place);
  return Result::ok;
}

Result dtos(Run& run, Arguments arguments, Value& result) {
  const convert::Date date = date_argument(run, arguments);
  char* place = run.make_text(result, convert::kDateFieldWidth);
  if (place == nullptr) return Result::no_memory;
  convert::write_date_field(date.day == 0 ? convert::kBlankDate : date, place);
  return Result::ok;
}

Result time(Run& run, Arguments arguments, Value& result) {
  const platform::LocalTime now = platform::local_time();
  const bool hundredths = arguments.size() > 0;
  char* at = run.make_text(result, hundredths ? kLongTimeWidth : kTimeWidth);
  if (at == nullptr) return Result::no_memory;
  at = put_digits(now.hour, 2, '0', at);
  *at++ = ':';
  at = put_digits(now.minute, 2, '0', at);
  *at++ = ':';
  at = put_digits(now.second, 2, '0', at);
  if (!hundredths) return Result::ok;
  *at++ = '.';
  put_digits(now.hundredth, 2, '0', at);
  return Result::ok;
}

}  // namespace vqdb::expr::dates
