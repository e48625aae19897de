// The operators: a constant row for each, with its precedence, the types it admits, the rule for
// the size of its result, and the handler for operands of each kind.
#ifndef VQDBSYS_EXPR_OPERATORS_H_
#define VQDBSYS_EXPR_OPERATORS_H_

#include <array>
#include <cstdint>

#include "expr/function.h"
#include "expr/tokens.h"
#include "expr/value.h"

namespace vqdb::expr {

// The type of the result by the types of the left (row) and right (column) operand, from
// Type::character to Type::logical; Type::none where they do not go together.
using TypeTable = std::array<std::array<Type, 5>, 5>;

struct Operator {
  Token token;
  std::uint8_t precedence;  // a smaller number binds tighter
  std::uint8_t operands;    // 2; 1 is both the left and the right one
  const TypeTable* types;
  // Completes the result, whose type is set already.
  void (*rule)(Arguments operands, Value& result);
  // The handler for operands that the types admit.
  Handler (*handler)(Type left, Type right);
  bool never_fails = false;  // whatever the operands
  bool is_pure = false;      // as functions are

  // Type::none for memo operands and operands without a type, too.
  Type result_type(Type left, Type right) const;
};

// REQUIRES Token::plus <= token <= Token::logical_not.
const Operator& operator_of(Token token);

// Handlers by the types of the operands.
template <Token token>
Handler comparison_handler(Type left, Type right);
Handler sum_handler(Type left, Type right);
Handler difference_handler(Type left, Type right);

// Handlers for the one kind of operands that their operators admit.
Result multiply(Run& run, Arguments operands, Value& result);
Result divide(Run& run, Arguments operands, Value& result);
Result raise(Run& run, Arguments operands, Value& result);
Result is_contained(Run& run, Arguments operands, Value& result);
Result both(Run& run, Arguments operands, Value& result);
Result either(Run& run, Arguments operands, Value& result);
Result negation(Run& run, Arguments operands, Value& result);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_OPERATORS_H_
