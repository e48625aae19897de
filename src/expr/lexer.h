// Splits the text of an expression into operators, functions and operands, and binds names to the
// fields of a table. Every broken text is refused here with its own detail code, but for what the
// order of operators and the types of their operands decide.
#ifndef VQDBSYS_EXPR_LEXER_H_
#define VQDBSYS_EXPR_LEXER_H_

#include <cstddef>
#include <span>
#include <string_view>

#include "expr/tokens.h"
#include "expr/value.h"
#include "frame/result.h"
#include "platform/memory.h"
#include "table/table.h"

namespace vqdb::expr {

// Most characters of an expression; blanks and tabs between its words do not count.
inline constexpr std::size_t kMaxText = 239;

struct Lexeme {
  Token token = Token::none;  // none: an operand
  Value operand;
};

struct Lexemes {
  platform::Array<Lexeme> array;
  std::size_t count = 0;
  // The literals that do not fit into their values, and all date literals.
  platform::Array<char> literals;

  std::span<const Lexeme> all() const { return {array.get(), count}; }
};

// Names are bound to the table's fields; without a table every operand is a literal.
Result lex(VqBlock& block, std::string_view text, const table::Table* table, Lexemes& lexemes);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_LEXER_H_
