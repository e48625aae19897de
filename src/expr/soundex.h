// Codes of how English words sound: a letter and three digits.
#ifndef VQDBSYS_EXPR_SOUNDEX_H_
#define VQDBSYS_EXPR_SOUNDEX_H_

#include <array>
#include <string_view>

namespace vqdb::expr {

inline constexpr std::size_t kSoundexLength = 4;
using Soundex = std::array<char, kSoundexLength>;

// The code of the first word; 0000 when the text does not begin with a letter. Unlike the common
// rule, the first letter's own digit does not swallow an equal second one (PFISTER is P123), and
// any vowel, H, W or Y separates equal digits.
Soundex soundex(std::string_view text);

// Agreement of two codes, 0 to 4: their letters, and digits of the second found in the first in
// the same order.
int difference(const Soundex& a, const Soundex& b);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_SOUNDEX_H_
