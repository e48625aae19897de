#include "display.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "row_format.h"

namespace tool {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};
// Characters of two columns: East Asian wide and full-width forms, and pictures.
constexpr std::array<Range, 12> kWide = {{{0x1100, 0x115F},
                                          {0x2E80, 0x303E},
                                          {0x3041, 0x33FF},
                                          {0x3400, 0x4DBF},
                                          {0x4E00, 0x9FFF},
                                          {0xA000, 0xA4CF},
                                          {0xAC00, 0xD7A3},
                                          {0xF900, 0xFAFF},
                                          {0xFE30, 0xFE6F},
                                          {0xFF00, 0xFF60},
                                          {0x1F300, 0x1FAFF},
                                          {0x20000, 0x3FFFD}}};
// Characters of none: they join the one before.
constexpr std::array<Range, 6> kJoining = {{{0x0300, 0x036F},
                                            {0x0E31, 0x0E31},
                                            {0x0E34, 0x0E3A},
                                            {0x0E47, 0x0E4E},
                                            {0x200B, 0x200F},
                                            {0xFE00, 0xFE0F}}};

template <std::size_t n>
bool is_in(const std::array<Range, n>& ranges, char32_t c) {
  return std::ranges::any_of(ranges, [c](const Range& r) { return c >= r.first && c <= r.last; });
}

// The character at `at`, which moves behind it.
char32_t next_character(std::string_view text, std::size_t& at) {
  const auto first = static_cast<unsigned char>(text[at++]);
  if (first < 0x80) return first;
  char32_t character = first & (first >= 0xF0 ? 0x07U : first >= 0xE0 ? 0x0FU : 0x1FU);
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) {
    character = character << 6 | (static_cast<unsigned char>(text[at++]) & 0x3FU);
  }
  return character;
}

std::size_t columns_of(char32_t character) {
  if (character < 0x300) return 1;
  if (is_in(kJoining, character)) return 0;
  return is_in(kWide, character) ? 2 : 1;
}

}  // namespace

std::size_t display_width(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) width += columns_of(next_character(text, at));
  return width;
}

std::string one_line(std::string_view text) {
  std::string line;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    const char32_t character = next_character(text, at);
    if (character == '\r' && at < text.size() && text[at] == '\n') continue;
    if (character == '\n' || character == '\r') {
      line += "\u21B5";
    } else if (character < 0x20) {  // the pictures of the control characters
      line += "\xE2\x90";
      line += static_cast<char>(0x80 + character);
    } else if (character == 0x7F || (character >= 0x80 && character < 0xA0)) {
      line += "\uFFFD";
    } else {
      line.append(text.substr(begin, at - begin));
    }
  }
  return line;
}

std::string fit(const std::string& text, std::size_t width) {
  if (display_width(text) <= width) return text;
  std::string cut;
  std::size_t used = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    used += columns_of(next_character(text, at));
    if (used + 1 > width) break;
    cut.append(text, begin, at - begin);
  }
  return cut + "\u2026";
}

std::string pad(const std::string& text, std::size_t width, bool right) {
  const std::size_t used = display_width(text);
  if (used >= width) return text;
  const std::string blanks(width - used, ' ');
  return right ? blanks + text : text + blanks;
}

std::string show(const Value& value) {
  switch (value.kind) {
    case Value::Kind::blank:
      return "";
    case Value::Kind::date: {
      std::string date;
      append_iso_date(value.text, date);
      return date;
    }
    case Value::Kind::truth:
      return value.truth ? "true" : "false";
    default:
      return std::string(value.text);
  }
}

}  // namespace tool
