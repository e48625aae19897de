// The calendar: day numbers of the proleptic Gregorian calendar (1 January of year 1 is day 1),
// leap years, today, and the names of days and months.
#ifndef VQDBSYS_CONVERT_CALENDAR_H_
#define VQDBSYS_CONVERT_CALENDAR_H_

#include <array>
#include <cstdint>
#include <string_view>

namespace vqdb::convert {

struct Date {
  std::int32_t month = 0;
  std::int32_t day = 0;
  std::int32_t year = 0;

  bool operator==(const Date&) const = default;
};

// The three integers of a blank date.
inline constexpr Date kBlankDate{9999, 9999, 9999};

// Added to a day number, the Julian day number that date keys hold.
inline constexpr std::int32_t kJulianOffset = 1721425;

inline constexpr std::array<std::string_view, 7> kDayNames = {
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
// From month 1 at index 0.
inline constexpr std::array<std::string_view, 12> kMonthNames = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};

// The last year all of whose day numbers fit in 32 bits.
inline constexpr std::int32_t kLastYear = 5'879'609;

bool is_leap(std::int32_t year);
// Month 1..12, day within the month, year 1..kLastYear.
bool is_valid(const Date& date);
// REQUIRES is_valid(date).
std::int32_t day_number(const Date& date);
// The inverse of day_number.
Date date_of(std::int32_t day_number);
Date today();

}  // namespace vqdb::convert

#endif  // VQDBSYS_CONVERT_CALENDAR_H_
