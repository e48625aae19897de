#include "expr/program.h"

#include <algorithm>

#include "expr/folding.h"
#include "expr/operators.h"
#include "expr/shortcuts.h"

namespace vqdb::expr {

namespace {

constexpr Operation kParse{600};
constexpr Operation kEvaluate{605};
constexpr std::int32_t kTokenDetails = 5000;

}  // namespace

Result Program::reserve(VqBlock& block, const Postfix& order, std::int32_t run_stack_detail) {
  std::size_t operands = 0;
  std::size_t calls = 0;
  for (const Word& word : order.all()) {
    if (!word.is_mark()) ++(word.lexeme->token == Token::none ? operands : calls);
  }
  // Every operand and every result is an argument once at most.
  const std::size_t arguments = operands + calls;
  block_ = platform::allocate_bytes(operands * sizeof(Value) + calls * sizeof(Call) +
                                    arguments * sizeof(Place));
  if (block_ == nullptr) return fail(block, Result::no_memory, kParse.detail(3));
  operands_ = reinterpret_cast<Value*>(block_.get());
  calls_ = reinterpret_cast<Call*>(operands_ + operands);
  arguments_ = reinterpret_cast<Place*>(calls_ + calls);
  run_stack_ = platform::allocate_array<Value>(calls);
  if (run_stack_ == nullptr) return fail(block, Result::no_memory, run_stack_detail);
  return Result::ok;
}

// Runs the words in check mode: on the stack lies, for each value of a run, the place where it will
// be, which holds its type and size meanwhile, and for each mark a place without a value.
class Assembler {
 public:
  Assembler(VqBlock& block, Program& program, Place* stack)
      : block_(block), program_(program), stack_(stack), arguments_(program.arguments_) {}

  Refusal assemble(const Postfix& order) {
    for (const Word& word : order.all()) {
      if (word.is_mark()) {
        stack_[depth_++] = {};
      } else if (word.lexeme->token == Token::none) {
        push_operand(word.lexeme->operand);
      } else if (const Refusal refusal = call(word.lexeme->token); !ok(refusal.result)) {
        return refusal;
      }
    }
    if (depth_ != 1 || stack_[0].value == nullptr) return {Result::operand, kEvaluate.detail(2)};
    program_.result_ = stack_[0].value;
    const std::span<Call> calls(program_.calls_, program_.call_count_);
    if (!calls.empty())
      program_.call_count_ = static_cast<std::uint16_t>(fold_constants(block_, calls));
    take_shortcuts(calls.first(program_.call_count_));
    return {};
  }

 private:
  void push_operand(const Value& operand) {
    Value& place = program_.operands_[program_.operand_count_++];
    place = operand;
    program_.reads_fields_ = program_.reads_fields_ || operand.form == Form::field;
    stack_[depth_++] = {&place};
  }

  Refusal call(Token token) {
    const Result result = is_function(token) ? call_function(token, function_of(token))
                                             : call_operator(operator_of(token));
    if (ok(result)) return {};
    return {result, kTokenDetails + number_of(token)};
  }

  Result call_operator(const Operator& row) {
    if (depth_ < row.operands) return Result::operand;
    const Place* operands = stack_ + depth_ - row.operands;
    const Value* left = operands[0].value;
    const Value* right = operands[row.operands - 1].value;
    if (left == nullptr || right == nullptr) return Result::operand;
    const Type type = row.result_type(left->type, right->type);
    if (type == Type::none) return Result::operand;
    Call& call = lay(row.token, row.handler(left->type, right->type), operands, row.operands);
    call.result->type = type;
    row.rule(Arguments(call.arguments, call.argument_count), *call.result);
    return replace(row.operands, *call.result);
  }

  // The arguments are the topmost values, down to the mark: too few are refused before wrong
  // types, and those before too many.
  Result call_function(Token token, const Function& row) {
    std::size_t given = 0;
    while (given < depth_ && stack_[depth_ - given - 1].value != nullptr) ++given;
    if (given < row.min_arguments) return Result::too_few;
    const std::size_t taken = std::min<std::size_t>(given, row.max_arguments);
    const Place* arguments = stack_ + depth_ - taken;
    for (std::size_t i = 0; i < taken; ++i) {
      if (!arguments[i].value->is(row.arguments[i])) return Result::argument_type;
    }
    Call& call = lay(token, row.run, arguments, taken);
    const Result result =
        row.rule(block_, Arguments(call.arguments, call.argument_count), *call.result);
    if (!ok(result)) return result;
    if (given > taken) return Result::too_many;
    return replace(taken + 1, *call.result);
  }

  Call& lay(Token token, Handler handler, const Place* arguments, std::size_t count) {
    const std::size_t number = program_.call_count_++;
    Call& call = program_.calls_[number];
    call = {.run = handler,
            .arguments = arguments_,
            .result = &program_.run_stack_[number],
            .argument_count = static_cast<std::uint8_t>(count),
            .token = token};
    arguments_ = std::copy_n(arguments, count, arguments_);
    return call;
  }

  // The result takes the place of the topmost words.
  Result replace(std::size_t words, const Value& result) {
    depth_ -= words;
    stack_[depth_++] = {&result};
    return Result::ok;
  }

  VqBlock& block_;
  Program& program_;
  Place* stack_;
  Place* arguments_;
  std::size_t depth_ = 0;
};

Refusal Program::assemble(VqBlock& block, const Postfix& order, Place* check_stack) {
  return Assembler(block, *this, check_stack).assemble(order);
}

}  // namespace vqdb::expr
