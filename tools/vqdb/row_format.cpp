#include "row_format.h"

namespace tool {

void append_iso_date(std::string_view digits, std::string& out) {
  out.append(digits.substr(0, 4)).append(1, '-').append(digits.substr(4, 2));
  out.append(1, '-').append(digits.substr(6, 2));
}

void append_plain_number(std::string_view digits, std::string& out) {
  if (digits.front() == '-') out += '-';
  if (digits.front() == '-' || digits.front() == '+') digits.remove_prefix(1);
  const auto is_digit_at = [&](std::size_t at) {
    return at < digits.size() && digits[at] >= '0' && digits[at] <= '9';
  };
  while (digits.front() == '0' && is_digit_at(1)) digits.remove_prefix(1);
  if (digits.front() == '.') out += '0';
  const std::size_t point = digits.find('.');
  if (point == std::string_view::npos || is_digit_at(point + 1)) {
    out.append(digits);
    return;
  }
  out.append(digits.substr(0, point)).append(digits.substr(point + 1));
}

}  // namespace tool
