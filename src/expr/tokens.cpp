#include "expr/tokens.h"

#include <algorithm>
#include <array>

#include "frame/bytes.h"

namespace vqdb::expr {

namespace {

constexpr std::array<std::string_view, kTokens> kNames = {
    "zero",         "PLUS",
    "MINUS",        "MULT",
    "DIV",          "POWER",
    "LESSTHAN",     "LESSTHAN or EQUAL TO",
    "GREATER THAN", "GREATER THAN or EQUAL TO",
    "EQUAL TO",     "EXACTLY EQUAL TO",
    "NOT EQUAL TO", "DOLLAR",
    ".AND.",        ".OR.",
    ".NOT.",        "Lparen",
    "Rparen",       "COMMA",
    "ABS",          "ACOS",
    "ASC",          "ASIN",
    "AT",           "ATAN",
    "ATN2",         "CDOW",
    "CEILING",      "CHR",
    "CMONTH",       "COS",
    "CTOD",         "DATE",
    "DAY",          "DELETED",
    "DIFFERENCE",   "DMY",
    "DOW",          "DTOC",
    "DTOR",         "DTOS",
    "EXP",          "FIELD",
    "FILE",         "FLOOR",
    "FV",           "IIF",
    "INT",          "ISALPHA",
    "ISLOWER",      "ISUPPER",
    "LEFT",         "LEN",
    "LOG",          "LOG10",
    "LOWER",        "LTRIM",
    "MAX",          "MDY",
    "MIN",          "MOD",
    "MONTH",        "PAYMENT",
    "PI",           "PV",
    "RAND",         "RECCOUNT",
    "RECNO",        "RECSIZE",
    "REPLICATE",    "RIGHT",
    "ROUND",        "RTOD",
    "RTRIM",        "SIGN",
    "SIN",          "SOUNDEX",
    "SPACE",        "SQRT",
    "STR",          "STUFF",
    "SUBSTR",       "TAN",
    "TIME",         "TRIM",
    "UPPER",        "VAL",
    "YEAR",         "ALLTRIM",
    "CHRTRAN",      "EMPTY",
    "PROPER",       "PADC",
    "PADL",         "PADR",
};

// By operator number. .OR. binds tighter than $, and that tighter than .AND.; .NOT. binds so
// loosely that it reaches to the next comma or closing parenthesis.
constexpr std::array<std::uint8_t, static_cast<std::size_t>(kFirstFunction)> kPrecedences = {
    99, 4, 4, 3, 3, 2, 5, 5, 5, 5, 5, 5, 5, 7, 8, 6, 80, 65, 68, 82,
};

struct Spelling {
  std::string_view text;
  Token token;
  bool extended = false;  // with the extended syntax only
  bool word = false;      // a letter behind it makes it a name
};

// A spelling comes before those that it begins with.
constexpr Spelling kSpellings[] = {
    {"**", Token::power},
    {"<=", Token::less_or_equal},
    {"=<", Token::less_or_equal},
    {">=", Token::greater_or_equal},
    {"=>", Token::greater_or_equal},
    {"<>", Token::not_equal},
    {"!=", Token::not_equal, true},
    {"==", Token::exactly_equal, true},
    {"+", Token::plus},
    {"-", Token::minus},
    {"*", Token::multiply},
    {"/", Token::divide},
    {"^", Token::power},
    {"<", Token::less},
    {">", Token::greater},
    {"=", Token::equal},
    {"#", Token::not_equal},
    {"$", Token::contained},
    {"!", Token::logical_not, true},
    {"(", Token::open_parenthesis},
    {")", Token::close_parenthesis},
    {",", Token::comma},
    {".AND.", Token::logical_and},
    {".OR.", Token::logical_or},
    {".NOT.", Token::logical_not},
    {"AND", Token::logical_and, false, true},
    {"OR", Token::logical_or, false, true},
    {"NOT", Token::logical_not, false, true},
};

bool same_letters(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, to_upper, to_upper);
}

}  // namespace

std::string_view name_of(Token token) { return kNames[static_cast<std::size_t>(token)]; }

int precedence_of(Token token) { return kPrecedences[static_cast<std::size_t>(token)]; }

std::optional<Token> find_function_name(std::string_view name, bool extended_syntax) {
  const auto end = static_cast<std::size_t>(kFirstExtendedFunction);
  for (auto i = static_cast<std::size_t>(kFirstFunction); i < (extended_syntax ? kTokens : end);
       ++i) {
    if (same_letters(name, kNames[i])) return static_cast<Token>(i);
  }
  return std::nullopt;
}

std::optional<SpelledOperator> find_operator(std::string_view text, bool extended_syntax) {
  for (const Spelling& spelling : kSpellings) {
    if (spelling.extended && !extended_syntax) continue;
    const std::size_t length = spelling.text.size();
    if (!same_letters(text.substr(0, length), spelling.text)) continue;
    if (spelling.word && text.size() > length && is_letter(text[length])) continue;
    return SpelledOperator{spelling.token, length};
  }
  return std::nullopt;
}

}  // namespace vqdb::expr
