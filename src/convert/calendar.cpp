#include "convert/calendar.h"

#include "platform/clock.h"

namespace vqdb::convert {
namespace {

constexpr std::array<std::int32_t, 12> kMonthLengths = {31, 29, 31, 30, 31, 30,
                                                        31, 31, 30, 31, 30, 31};

// Days before each month in a common year.
constexpr std::array<std::int32_t, 12> kDaysBefore = {0,   31,  59,  90,  120, 151,
                                                      181, 212, 243, 273, 304, 334};

// The calendar repeats every 400 years. Counted from 1 March a leap day is the last day of its
// year, which makes the months regular.
constexpr std::int64_t kDaysPerCycle = 146097;
constexpr std::int64_t kDaysBeforeFirstMarch = 306;  // of year 0, before day 1

}  // namespace

bool is_leap(std::int32_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

bool is_valid(const Date& date) {
  if (date.month < 1 || date.month > 12 || date.day < 1) return false;
  if (date.year < 1 || date.year > kLastYear) return false;
  if (date.month == 2 && date.day == 29) return is_leap(date.year);
  return date.day <= kMonthLengths[static_cast<std::size_t>(date.month - 1)];
}

std::int32_t day_number(const Date& date) {
  const std::int64_t years = date.year - 1;
  const std::int64_t before = 365 * years + years / 4 - years / 100 + years / 400;
  const int leap_day = is_leap(date.year) && date.month >= 3 ? 1 : 0;
  return static_cast<std::int32_t>(before + kDaysBefore[static_cast<std::size_t>(date.month - 1)] +
                                   leap_day + date.day);
}

Date date_of(std::int32_t day_number) {
  const std::int64_t days = std::int64_t{day_number} + kDaysBeforeFirstMarch - 1;
  const std::int64_t cycle = (days >= 0 ? days : days - (kDaysPerCycle - 1)) / kDaysPerCycle;
  const std::int64_t day_of_cycle = days - cycle * kDaysPerCycle;
  const std::int64_t year_of_cycle = (day_of_cycle - day_of_cycle / 1460 + day_of_cycle / 36524 -
                                      day_of_cycle / (kDaysPerCycle - 1)) /
                                     365;
  const std::int64_t day_of_year =
      day_of_cycle - (365 * year_of_cycle + year_of_cycle / 4 - year_of_cycle / 100);
  const std::int64_t march_month = (5 * day_of_year + 2) / 153;  // 0 is March
  const std::int64_t day = day_of_year - (153 * march_month + 2) / 5 + 1;
  const std::int64_t month = march_month < 10 ? march_month + 3 : march_month - 9;
  const std::int64_t year = year_of_cycle + cycle * 400 + (month <= 2 ? 1 : 0);
  return {static_cast<std::int32_t>(month), static_cast<std::int32_t>(day),
          static_cast<std::int32_t>(year)};
}

Date today() {
  const platform::LocalTime now = platform::local_time();
  return {now.month, now.day, now.year};
}

}  // namespace vqdb::convert
