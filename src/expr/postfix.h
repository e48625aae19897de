// Puts the words of an expression into the order of their evaluation: operands first, then what
// takes them.
#ifndef VQDBSYS_EXPR_POSTFIX_H_
#define VQDBSYS_EXPR_POSTFIX_H_

#include <cstddef>
#include <span>

#include "expr/lexer.h"

namespace vqdb::expr {

// An operand, operator or function; without one, the mark where the arguments of a function begin.
struct Word {
  const Lexeme* lexeme = nullptr;

  bool is_mark() const { return lexeme == nullptr; }
};

struct Postfix {
  platform::Array<Word> array;
  std::size_t count = 0;

  std::span<const Word> all() const { return {array.get(), count}; }
};

// The order points into the lexemes.
Result to_postfix(VqBlock& block, std::span<const Lexeme> lexemes, Postfix& order);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_POSTFIX_H_
