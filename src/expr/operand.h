// Operands as the text of an expression gives them: literals and fields.
#ifndef VQDBSYS_EXPR_OPERAND_H_
#define VQDBSYS_EXPR_OPERAND_H_

#include <string_view>

#include "expr/value.h"
#include "table/field.h"

namespace vqdb::expr {

// REQUIRES at most kInlineText characters.
Value short_text(std::string_view text);
// The text must outlive the value.
Value long_text(std::string_view text);
// Its day number is set when a run begins. The text must outlive the value.
Value date_literal(std::string_view text);
// Digits count as written: those before the first point and those behind it.
Value number_literal(std::string_view text, bool negated);
Value logical_constant(bool truth);
// A field of a type that expressions do not know, or too short for its type, has none.
Value field_operand(const table::Field& field, bool negated);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_OPERAND_H_
