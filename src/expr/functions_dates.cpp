#include "expr/function.h"

namespace vqdb::expr {

namespace {

Result dow(Run& run, Arguments arguments, Value& result) {
  const std::int32_t day = whole_day(run.day(arguments[0]));
  result.set_number(day == 0 ? 0 : day % 7 + 1);
  return Result::ok;
}

constexpr Function kFunctions[] = {
    {Token::dow, 1, 1, {kDate}, rule::number, dow},
};

}  // namespace

std::span<const Function> date_functions() { return kFunctions; }

}  // namespace vqdb::expr
