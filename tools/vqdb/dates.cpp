#include "dates.h"

#include <fmt/format.h>
#include <vqdbsys.h>

#include <algorithm>

namespace tool {

std::optional<Date> parse_date(std::string_view text) {
  std::string digits(text);
  if (digits.size() == 10 && digits[4] == '-' && digits[7] == '-') {
    digits.erase(7, 1);
    digits.erase(4, 1);
  }
  if (digits.size() != 8 ||
      !std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; })) {
    return std::nullopt;
  }
  const Date date = {std::stoi(digits.substr(0, 4)), std::stoi(digits.substr(4, 2)),
                     std::stoi(digits.substr(6))};
  if (dU3itoJ(nullptr, date.month, date.day, date.year) <= 0) return std::nullopt;
  return date;
}

std::string field_text(const Date& date) {
  return fmt::format("{:04}{:02}{:02}", date.year, date.month, date.day);
}

}  // namespace tool
