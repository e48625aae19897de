#include "expr/folding.h"

#include <algorithm>

#include "expr/operators.h"

namespace vqdb::expr {
namespace {

// What a date literal means is up to the settings of the run.
bool is_constant(const Value& value) {
  return value.form != Form::none && value.form != Form::field && value.form != Form::date_literal;
}

bool can_fold(const Call& call) {
  const bool is_pure =
      is_function(call.token) ? function_of(call.token).is_pure : operator_of(call.token).is_pure;
  // Longer texts, and those whose length only a run knows, need memory of the run.
  const Value& result = *call.result;
  const bool is_short =
      result.length > 0 && result.length <= static_cast<std::int32_t>(kInlineText);
  const std::span<const Place> arguments(call.arguments, call.argument_count);
  return is_pure && is_short &&
         std::ranges::all_of(arguments, [](Place place) { return is_constant(*place.value); });
}

bool fold(Run& run, const Call& call) {
  if (!can_fold(call)) return false;
  const Value shape = *call.result;
  const Arguments arguments(call.arguments, call.argument_count);
  if (ok(call.run(run, arguments, *call.result))) return true;
  *call.result = shape;
  return false;
}

}  // namespace

std::size_t fold_constants(VqBlock& block, std::span<Call> calls) {
  TextArena texts;
  Run run(block, nullptr, nullptr, texts);
  std::size_t left = 0;
  for (const Call& call : calls) {
    if (&call == &calls.back() || !fold(run, call)) calls[left++] = call;
  }
  return left;
}

}  // namespace vqdb::expr
