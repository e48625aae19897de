#include <cmath>

#include "expr/function.h"

namespace vqdb::expr {

namespace {

// Takes the sign of the divisor; by zero it is zero.
Result mod(Run& run, Arguments arguments, Value& result) {
  const double a = run.number(arguments[0]);
  const double b = run.number(arguments[1]);
  result.set_number(b == 0 ? 0 : a - std::floor(a / b) * b);
  return Result::ok;
}

constexpr Function kFunctions[] = {
    {Token::mod, 2, 2, {kNumber, kNumber}, rule::number, mod},
};

}  // namespace

std::span<const Function> numeric_functions() { return kFunctions; }

}  // namespace vqdb::expr
