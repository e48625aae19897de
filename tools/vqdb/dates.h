// Dates as people write them.
#ifndef VQDB_DATES_H_
#define VQDB_DATES_H_

#include <optional>
#include <string>
#include <string_view>

namespace tool {

struct Date {
  int year;
  int month;
  int day;
};

// 2024-01-31 or 20240131; nothing when there is no such day.
std::optional<Date> parse_date(std::string_view text);
// As a field holds it.
std::string field_text(const Date& date);

}  // namespace tool

#endif  // VQDB_DATES_H_
