#include "expr/tokens.h"

#include "frame/bytes.h"

namespace vqdb::expr {

namespace {

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

}  // namespace

std::optional<SpelledOperator> find_operator(std::string_view text, bool extended_syntax) {
  for (const Spelling& spelling : kSpellings) {
    if (spelling.extended && !extended_syntax) continue;
    const std::size_t length = spelling.text.size();
    if (!equal_ignoring_case(text.substr(0, length), spelling.text)) continue;
    if (spelling.word && text.size() > length && is_letter(text[length])) continue;
    return SpelledOperator{spelling.token, length};
  }
  return std::nullopt;
}

}  // namespace vqdb::expr
