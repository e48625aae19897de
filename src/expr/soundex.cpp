#include "expr/soundex.h"

#include <algorithm>

#include "frame/bytes.h"

namespace vqdb::expr {

namespace {

// Of A to Z.
constexpr std::string_view kDigits = "01230120022455012623010202";

char digit_of(char letter) { return kDigits[static_cast<std::size_t>(to_upper(letter) - 'A')]; }

}  // namespace

Soundex soundex(std::string_view text) {
  Soundex code = {'0', '0', '0', '0'};
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  if (text.empty() || !is_letter(text.front())) return code;
  code[0] = to_upper(text.front());
  std::size_t count = 1;
  char previous = '\0';
  for (const char c : text.substr(1)) {
    if (count == kSoundexLength || !is_letter(c)) break;
    const char digit = digit_of(c);
    if (digit != previous && digit != '0') code[count++] = digit;
    previous = digit;
  }
  return code;
}

int difference(const Soundex& a, const Soundex& b) {
  int score = a[0] == b[0] ? 1 : 0;
  auto from = a.begin() + 1;
  for (auto digit = b.begin() + 1; digit != b.end(); ++digit) {
    const auto hit = std::find(from, a.end(), *digit);
    if (hit == a.end()) continue;
    ++score;
    from = hit + 1;
  }
  return score;
}

}  // namespace vqdb::expr
