#include "expr/shortcuts.h"

#include <algorithm>

#include "expr/operators.h"

namespace vqdb::expr {
namespace {

// Numbers and dates are read from their digits.
std::uint32_t cost_of_reading(const Value& operand) {
  constexpr std::uint32_t kDigits = 4;
  return operand.form == Form::field && operand.is(kNumber | kDate) ? kDigits : 0;
}

// Whether the value is made by the call at this place.
bool is_made_at(std::span<const Call> calls, const Value* value, std::size_t at) {
  return at < calls.size() && calls[at].result == value;
}

Extent extent_at(std::span<const Call> calls, std::size_t at) {
  const Call& call = calls[at];
  Extent extent;
  extent.never_fails = !is_function(call.token) && operator_of(call.token).never_fails;
  for (std::size_t i = call.argument_count; i-- > 0;) {
    const Value* const value = call.arguments[i].value;
    if (!is_made_at(calls, value, at - extent.calls)) {
      extent.cost += cost_of_reading(*value);
      continue;
    }
    const Extent& argument = calls[at - extent.calls].extent;
    extent.calls = static_cast<std::uint16_t>(extent.calls + argument.calls);
    extent.cost += argument.cost;
    extent.never_fails = extent.never_fails && argument.never_fails;
  }
  return extent;
}

// For an .AND. or .OR. of two operands that are both made by calls.
void take_shortcut(std::span<Call> calls, std::size_t at) {
  const Call& whole = calls[at];
  if (!is_made_at(calls, whole.arguments[1].value, at - 1)) return;
  const Extent right = calls[at - 1].extent;
  if (!is_made_at(calls, whole.arguments[0].value, at - 1 - right.calls)) return;
  const Extent left = calls[at - 1 - right.calls].extent;
  if (!right.never_fails) return;
  const bool swaps = left.never_fails && right.cost < left.cost;
  if (swaps) {
    const auto both = calls.subspan(at - left.calls - right.calls, left.calls + right.calls);
    std::rotate(both.begin(), both.begin() + left.calls, both.end());
  }
  const std::uint16_t passed = swaps ? left.calls : right.calls;
  calls[at - 1 - passed].shortcut = {whole.token == Token::logical_or,
                                     static_cast<std::uint16_t>(passed + 1)};
}

}  // namespace

void take_shortcuts(std::span<Call> calls) {
  for (std::size_t at = 0; at < calls.size(); ++at) {
    calls[at].extent = extent_at(calls, at);
    const Token token = calls[at].token;
    if (token == Token::logical_and || token == Token::logical_or) take_shortcut(calls, at);
  }
}

}  // namespace vqdb::expr
