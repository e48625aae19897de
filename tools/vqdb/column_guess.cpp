#include "column_guess.h"

#include <algorithm>
#include <array>
#include <set>

#include "dates.h"
#include "file_names.h"
#include "stop.h"

namespace tool {
namespace {

constexpr std::size_t kWidestText = 254;
constexpr std::size_t kWidestNumber = 20;
constexpr std::size_t kLongestName = 10;

bool is_truth(std::string_view text) {
  constexpr std::array<std::string_view, 8> kWords = {"true", "false", "t", "f",
                                                      "yes",  "no",    "y", "n"};
  return std::ranges::find(kWords, to_lower(text)) != kWords.end();
}

struct Digits {
  std::size_t whole = 0;  // with the sign
  std::size_t decimals = 0;
};

// Digits that come out of a numeric field as they went in: a number with zeros in front, such as a
// postal code, is a text.
bool read_digits(std::string_view text, Digits& digits) {
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  const std::string_view whole = text.substr(0, point);
  const std::string_view decimals = point < text.size() ? text.substr(point + 1) : "";
  const auto all_digits = [](std::string_view part) {
    return std::ranges::all_of(part, [](char c) { return c >= '0' && c <= '9'; });
  };
  if (!all_digits(whole) || !all_digits(decimals) || whole.size() + decimals.size() == 0)
    return false;
  if (whole.size() > 1 && whole[0] == '0') return false;
  digits.whole = std::max<std::size_t>(whole.size(), 1) + (negative ? 1 : 0);
  digits.decimals = decimals.size();
  return true;
}

}  // namespace

void ColumnGuess::look_at(std::string_view text, const Encoding& encoding) {
  if (text.empty()) return;
  any_ = true;
  Digits digits;
  if (numbers_ && read_digits(text, digits)) {
    whole_ = std::max(whole_, digits.whole);
    decimals_ = std::max(decimals_, digits.decimals);
  } else {
    numbers_ = false;
  }
  dates_ = dates_ && text.size() == 10 && parse_date(text).has_value();
  truths_ = truths_ && is_truth(text);
  has_line_ends_ = has_line_ends_ || text.find('\n') != std::string_view::npos;
  std::string encoded;
  const bool plain = is_ascii(text) || !encoding.encode(text, encoded);
  bytes_ = std::max(bytes_, plain ? text.size() : encoded.size());
}

std::string ColumnGuess::type() const {
  const std::size_t width = whole_ + (decimals_ > 0 ? decimals_ + 1 : 0);
  if (any_ && numbers_ && width <= kWidestNumber) {
    return decimals_ > 0 ? fmt::format("N{}.{}", width, decimals_) : fmt::format("N{}", width);
  }
  if (any_ && dates_) return "D";
  if (any_ && truths_) return "L";
  if (bytes_ > kWidestText || has_line_ends_) return "M";
  return fmt::format("C{}", bytes_);
}

std::vector<std::string> field_names_for(const std::vector<std::string>& columns) {
  std::vector<std::string> names;
  std::set<std::string> taken;
  for (const std::string& column : columns) {
    std::string name;
    for (const char c : to_upper(column)) {
      const bool allowed = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
      // A character beyond ASCII is one `_`, however many bytes it has.
      if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) name += allowed ? c : '_';
    }
    if (name.empty()) name = fmt::format("FIELD{}", names.size() + 1);
    if (name[0] >= '0' && name[0] <= '9') name.insert(name.begin(), 'F');
    name.resize(std::min(name.size(), kLongestName));
    std::string unique = name;
    for (int number = 2; !taken.insert(unique).second; ++number) {
      const std::string suffix = std::to_string(number);
      unique = name.substr(0, kLongestName - suffix.size()) + suffix;
    }
    names.push_back(unique);
  }
  return names;
}

}  // namespace tool
