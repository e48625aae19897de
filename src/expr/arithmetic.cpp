// Plus and minus over numbers, dates and texts; multiplication, division and powers of numbers.
#include <algorithm>
#include <cmath>

#include "expr/operators.h"

namespace vqdb::expr {

namespace {

Result add_numbers(Run& run, Arguments operands, Value& result) {
  result.set_number(run.number(operands[0]) + run.number(operands[1]));
  return Result::ok;
}

Result subtract_numbers(Run& run, Arguments operands, Value& result) {
  result.set_number(run.number(operands[0]) - run.number(operands[1]));
  return Result::ok;
}

// The empty date stays empty whatever is added to it.
void set_day(Value& result, double day, double shift) {
  result.set_number(day < 1 ? 0 : day + shift);
}

Result add_days_to_left(Run& run, Arguments operands, Value& result) {
  set_day(result, run.day(operands[0]), run.number(operands[1]));
  return Result::ok;
}

Result add_days_to_right(Run& run, Arguments operands, Value& result) {
  set_day(result, run.day(operands[1]), run.number(operands[0]));
  return Result::ok;
}

Result subtract_days(Run& run, Arguments operands, Value& result) {
  set_day(result, run.day(operands[0]), -run.number(operands[1]));
  return Result::ok;
}

Result days_between(Run& run, Arguments operands, Value& result) {
  result.set_number(run.day(operands[0]) - run.day(operands[1]));
  return Result::ok;
}

// Joins two texts, with so many blanks behind them.
Result join(Run& run, std::string_view left, std::string_view right, std::size_t blanks,
            Value& result) {
  char* place = run.make_text(result, left.size() + right.size() + blanks);
  if (place == nullptr) return Result::no_memory;
  place = std::copy(left.begin(), left.end(), place);
  place = std::copy(right.begin(), right.end(), place);
  std::fill_n(place, blanks, ' ');
  return Result::ok;
}

Result join_texts(Run& run, Arguments operands, Value& result) {
  return join(run, run.text(operands[0]), run.text(operands[1]), 0, result);
}

// The trailing blanks of the left text move behind the right one.
Result join_moving_blanks(Run& run, Arguments operands, Value& result) {
  const std::string_view left = run.text(operands[0]);
  const std::size_t kept = left.find_last_not_of(' ') + 1;
  return join(run, left.substr(0, kept), run.text(operands[1]), left.size() - kept, result);
}

}  // namespace

Handler sum_handler(Type left, Type right) {
  if (left == Type::character) return join_texts;
  if (left == Type::date) return add_days_to_left;
  return right == Type::date ? add_days_to_right : add_numbers;
}

Handler difference_handler(Type left, Type right) {
  if (left == Type::character) return join_moving_blanks;
  if (left != Type::date) return subtract_numbers;
  return right == Type::date ? days_between : subtract_days;
}

Result multiply(Run& run, Arguments operands, Value& result) {
  result.set_number(run.number(operands[0]) * run.number(operands[1]));
  return Result::ok;
}

Result divide(Run& run, Arguments operands, Value& result) {
  const double divisor = run.number(operands[1]);
  if (divisor == 0) return Result::division;
  result.set_number(run.number(operands[0]) / divisor);
  return Result::ok;
}

Result raise(Run& run, Arguments operands, Value& result) {
  result.set_number(std::pow(run.number(operands[0]), run.number(operands[1])));
  return Result::ok;
}

}  // namespace vqdb::expr
