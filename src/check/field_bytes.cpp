#include "check/field_bytes.h"

#include <algorithm>

#include "convert/calendar.h"
#include "convert/dates.h"
#include "frame/bytes.h"
#include "memo/reference.h"

namespace vqdb::check {
namespace {

bool consists_of(std::string_view bytes, char byte) {
  return bytes.find_first_not_of(byte) == std::string_view::npos;
}

std::size_t take_digits(std::string_view& bytes) {
  const std::size_t count = static_cast<std::size_t>(
      std::find_if_not(bytes.begin(), bytes.end(), is_digit) - bytes.begin());
  bytes.remove_prefix(count);
  return count;
}

bool take_one_of(std::string_view letters, std::string_view& bytes) {
  if (bytes.empty() || letters.find(bytes.front()) == std::string_view::npos) return false;
  bytes.remove_prefix(1);
  return true;
}

// Blanks, a number and blanks; or blanks, or the asterisks of a number that was too long.
bool is_number(std::string_view bytes) {
  if (consists_of(bytes, ' ') || consists_of(bytes, '*')) return true;
  bytes.remove_prefix(bytes.find_first_not_of(' '));
  (void)take_one_of("+-", bytes);
  std::size_t digits = take_digits(bytes);
  if (take_one_of(".", bytes)) digits += take_digits(bytes);
  if (digits == 0) return false;
  if (take_one_of("eE", bytes)) {
    (void)take_one_of("+-", bytes);
    if (take_digits(bytes) == 0) return false;
  }
  return consists_of(bytes, ' ');
}

bool is_date(std::string_view bytes) {
  if (bytes.size() != convert::kDateFieldWidth) return true;
  return consists_of(bytes, ' ') || consists_of(bytes, '0') ||
         (std::all_of(bytes.begin(), bytes.end(), is_digit) &&
          convert::is_valid(convert::read_date_field(bytes.data())));
}

bool is_truth(std::string_view bytes) {
  return bytes.find_first_not_of("TtFfYyNn? ") == std::string_view::npos;
}

bool is_reference(std::string_view bytes) {
  return bytes.size() != memo::kReferenceWidth || memo::memo_field_state(bytes.data()) >= 0 ||
         consists_of(bytes, '0');
}

}  // namespace

BytesRule bytes_rule(char type) {
  switch (type) {
    case 'N':
    case 'F':
      return is_number;
    case 'D':
      return is_date;
    case 'L':
      return is_truth;
    case 'M':
    case 'B':
    case 'G':
    case 'P':
      return is_reference;
    default:
      return nullptr;
  }
}

}  // namespace vqdb::check
