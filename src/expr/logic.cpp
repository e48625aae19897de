// $, .AND., .OR. and .NOT. Both operands are there: shortcuts.h says which ones a run passes over.
#include "expr/operators.h"

namespace vqdb::expr {

Result is_contained(Run& run, Arguments operands, Value& result) {
  const std::string_view part = run.text(operands[0]);
  result.set_truth(run.text(operands[1]).find(part) != std::string_view::npos);
  return Result::ok;
}

Result both(Run& run, Arguments operands, Value& result) {
  result.set_truth(run.truth(operands[0]) && run.truth(operands[1]));
  return Result::ok;
}

Result either(Run& run, Arguments operands, Value& result) {
  result.set_truth(run.truth(operands[0]) || run.truth(operands[1]));
  return Result::ok;
}

Result negation(Run& run, Arguments operands, Value& result) {
  result.set_truth(!run.truth(operands[0]));
  return Result::ok;
}

}  // namespace vqdb::expr
