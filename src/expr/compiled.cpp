#include "expr/compiled.h"

#include <algorithm>

#include "convert/dates.h"
#include "expr/delivery.h"
#include "expr/functions.h"

namespace vqdb::expr {

namespace {

constexpr Operation kParse{600};
constexpr Operation kRun{606};
constexpr std::int32_t kTokenDetails = 5000;

// What a text gets whose length only a run knows.
constexpr std::int32_t kOpenLength = 254;

ResultShape shape_of(const Value& result) {
  constexpr char kLetters[] = "\0CNFDLM";
  ResultShape shape{kLetters[static_cast<std::size_t>(result.type)], result.length,
                    result.integer_digits, result.decimals};
  switch (result.type) {
    case Type::character:
      if (shape.length == 0) shape.length = kOpenLength;
      break;
    case Type::numeric:
    case Type::floating:
    case Type::date:
      shape.length = 8;
      break;
    case Type::logical:
      shape.length = 1;
      break;
    default:
      break;
  }
  return shape;
}

// The last .AND. or .OR. that the call's result settles, made without its other operand; the call
// itself where it settles none.
std::size_t settle(const Run& run, std::span<const Call> calls, std::size_t at) {
  for (Shortcut way = calls[at].shortcut;
       way.ahead != 0 && run.truth(*calls[at].result) == way.truth; way = calls[at].shortcut) {
    at += way.ahead;
    calls[at].result->set_truth(way.truth);
  }
  return at;
}

}  // namespace

Result Compiled::compile(VqBlock& block, const Postfix& order, bool check_types,
                         ResultShape& shape) {
  const Result result = program_.reserve(block, order, kParse.detail(check_types ? 6 : 4));
  if (!ok(result)) return result;
  const auto check_stack = platform::allocate_array<Place>(order.count);
  if (check_stack == nullptr) return fail(block, Result::no_memory, kParse.detail(5));
  refusal_ = program_.assemble(block, order, check_stack.get());
  if (!check_types) {
    shape.length = static_cast<std::int32_t>(order.count);
    return Result::ok;
  }
  if (!ok(refusal_.result)) return fail(block, refusal_.result, refusal_.detail);
  shape = shape_of(program_.result());
  longest_ = shape.length;
  return Result::ok;
}

Result Compiled::run(VqBlock& block, const char* record, std::uint32_t options, std::int32_t max,
                     char* buffer, std::int32_t& length) {
  if (!ok(refusal_.result)) return fail(block, refusal_.result, refusal_.detail);
  if (record == nullptr && program_.reads_fields()) {
    return fail(block, Result::out_of_range, kRun.detail(2));
  }
  if (literals_ != nullptr) read_date_literals(block);
  texts_.clear();
  Run run(block, record, table_, texts_);
  const std::span<const Call> calls = program_.calls();
  for (std::size_t at = 0; at < calls.size(); ++at) {
    const Call& call = calls[at];
    const Result result =
        call.run(run, Arguments(call.arguments, call.argument_count), *call.result);
    if (!ok(result)) return fail(block, result, kTokenDetails + number_of(call.token));
    at = settle(run, calls, at);
  }
  return deliver(run, program_.result(), {options, max, longest_}, buffer, length);
}

bool Compiled::reads_deletion_flag() const { return program_.runs(records::deleted); }

bool Compiled::is_filter_of(std::uint32_t record_length) const {
  const auto lies_within = [=](const Value& operand) {
    return operand.form != Form::field ||
           std::uint64_t{operand.field.offset} + static_cast<std::uint32_t>(operand.length) <=
               record_length;
  };
  return ok(refusal_.result) && program_.result().type == Type::logical &&
         std::ranges::all_of(program_.operands(), lies_within);
}

void Compiled::read_date_literals(const VqBlock& block) {
  const std::uint32_t format = block.date_format;
  if (literals_read_in_ == format) return;
  for (Value& operand : program_.operands()) {
    if (operand.form != Form::date_literal) continue;
    Value::DateLiteral& literal = operand.date_literal;
    literal.day =
        convert::parse_date_text(block, {literal.text, static_cast<std::size_t>(operand.length)})
            .value_or(0);
  }
  literals_read_in_ = format;
}

}  // namespace vqdb::expr
