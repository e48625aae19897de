// The words of the expression language by their token numbers: the operators here, the functions in
// a table of their own, function.h.
#ifndef VQDBSYS_EXPR_TOKENS_H_
#define VQDBSYS_EXPR_TOKENS_H_

#include <cstdint>
#include <optional>
#include <string_view>

namespace vqdb::expr {

// The numbers are part of the interface: a refused token's detail code is 5000 + its number.
enum class Token : std::uint8_t {
  none,
  plus,
  minus,
  multiply,
  divide,
  power,
  less,
  less_or_equal,
  greater,
  greater_or_equal,
  equal,
  exactly_equal,
  not_equal,
  contained,
  logical_and,
  logical_or,
  logical_not,
  open_parenthesis,
  close_parenthesis,
  comma,
};

// Functions have no names here, only the numbers of their rows.
inline constexpr Token kFirstFunction{20};

constexpr int number_of(Token token) { return static_cast<int>(token); }
constexpr bool is_function(Token token) { return token >= kFirstFunction; }

// The operator that the text begins with, by symbol or word, and how many bytes it takes there.
struct SpelledOperator {
  Token token = Token::none;
  std::size_t length = 0;
};
std::optional<SpelledOperator> find_operator(std::string_view text, bool extended_syntax);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_TOKENS_H_
