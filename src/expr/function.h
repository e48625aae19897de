// What the table of functions says of each one, for the check of types and the run to share.
#ifndef VQDBSYS_EXPR_FUNCTION_H_
#define VQDBSYS_EXPR_FUNCTION_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

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
  int number;  // of its token
  std::string_view name;
  std::uint8_t min_arguments;
  std::uint8_t max_arguments;
  std::array<TypeSet, 4> arguments;  // what each one admits
  Rule rule;
  Handler run;
  // Gives the same for the same arguments, whatever record, settings, files and clock say.
  bool is_pure = false;
};

// REQUIRES is_function(token).
const Function& function_of(Token token);

// The function of this name, any case.
std::optional<Token> find_function(std::string_view name, bool extended_syntax);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_FUNCTION_H_
