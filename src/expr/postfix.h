// Puts the words of an expression into the order of their evaluation: operands first, then what
// takes them.
#ifndef VQDBSYS_EXPR_POSTFIX_H_
#define VQDBSYS_EXPR_POSTFIX_H_

#include <cstddef>
#include <span>

#include "expr/lexer.h"

namespace vqdb::expr {

// A null pointer marks where the arguments of a function begin.
struct Postfix {
  platform::Array<const Lexeme*> array;
  std::size_t count = 0;

  std::span<const Lexeme* const> all() const { return {array.get(), count}; }
};

// The order points into the lexemes.
Result to_postfix(VqBlock& block, std::span<const Lexeme> lexemes, Postfix& order);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_POSTFIX_H_
