// The words of the expression language: operators and functions by token number, with the names
// that texts call them by, and the precedence of each operator.
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
  abs,
  acos,
  asc,
  asin,
  at,
  atan,
  atn2,
  cdow,
  ceiling,
  chr,
  cmonth,
  cos,
  ctod,
  date,
  day,
  deleted,
  difference,
  dmy,
  dow,
  dtoc,
  dtor,
  dtos,
  exp,
  field,
  file,
  floor,
  fv,
  iif,
  integer,
  isalpha,
  islower,
  isupper,
  left,
  len,
  log,
  log10,
  lower,
  ltrim,
  max,
  mdy,
  min,
  mod,
  month,
  payment,
  pi,
  pv,
  rand,
  reccount,
  recno,
  recsize,
  replicate,
  right,
  round,
  rtod,
  rtrim,
  sign,
  sin,
  soundex,
  space,
  sqrt,
  str,
  stuff,
  substr,
  tan,
  time,
  trim,
  upper,
  val,
  year,
  alltrim,  // from here on with the extended syntax only
  chrtran,
  empty,
  proper,
  padc,
  padl,
  padr,
};

inline constexpr std::size_t kTokens = 96;
inline constexpr Token kFirstFunction = Token::abs;
inline constexpr Token kFirstExtendedFunction = Token::alltrim;

constexpr int number_of(Token token) { return static_cast<int>(token); }
constexpr bool is_function(Token token) { return token >= kFirstFunction; }

std::string_view name_of(Token token);

// A smaller number binds tighter. REQUIRES an operator.
int precedence_of(Token token);

// The function of this name, any case.
std::optional<Token> find_function_name(std::string_view name, bool extended_syntax);

// The operator that the text begins with, by symbol or word, and how many bytes it takes there.
struct SpelledOperator {
  Token token = Token::none;
  std::size_t length = 0;
};
std::optional<SpelledOperator> find_operator(std::string_view text, bool extended_syntax);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_TOKENS_H_
