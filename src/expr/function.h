// The registry of functions: a constant row for each, which the check of types and the run share.
// A function is added by adding its row to its family's table.
#ifndef VQDBSYS_EXPR_FUNCTION_H_
#define VQDBSYS_EXPR_FUNCTION_H_

#include <array>
#include <cstdint>
#include <span>

#include "expr/run.h"
#include "expr/tokens.h"
#include "expr/value.h"
#include "frame/result.h"

namespace vqdb::expr {

// Check mode: says the type, length and digits of the result (Value::shape...) from those of the
// arguments, whose number and types the row has admitted already. Nothing is read from a record;
// only literals have values. May refuse with Result::argument_type.
using Rule = Result (*)(const VqBlock& block, Arguments arguments, Value& result);

// Run mode: makes the result. The result never overlaps an argument, and still has the type of
// the check; a text's length is the run's to set. A failure is recorded by the caller as detail
// 5000 + token; a handler only answers the code (no_memory, bad_handle, ...).
using Handler = Result (*)(Run& run, Arguments arguments, Value& result);

struct Function {
  Token token;
  std::uint8_t min_arguments;
  std::uint8_t max_arguments;
  std::array<TypeSet, 4> arguments;  // what each one admits
  Rule rule;
  Handler run;
};

// The families.
std::span<const Function> text_functions();
std::span<const Function> value_functions();
std::span<const Function> numeric_functions();
std::span<const Function> date_functions();
std::span<const Function> record_functions();

// The row of a function; null while it has none.
const Function* find_function(Token token);

// Rules that many functions share.
namespace rule {
Result number(const VqBlock&, Arguments, Value& result);
Result date(const VqBlock&, Arguments, Value& result);
Result logical(const VqBlock&, Arguments, Value& result);
// A text as long as the first argument.
Result text_like_first(const VqBlock&, Arguments, Value& result);
}  // namespace rule

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_FUNCTION_H_
