#include <algorithm>

#include "expr/function.h"

namespace vqdb::expr {

namespace {

Result upper(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  char* place = run.make_text(result, text.size());
  if (place == nullptr) return Result::no_memory;
  std::ranges::transform(text, place, to_upper);
  return Result::ok;
}

// A count out of the record leaves the length open up to the text's own.
Result left_rule(const VqBlock&, Arguments arguments, Value& result) {
  const Value& count = arguments[1];
  result.shape_text(count.is_number_literal() ? std::max(count.number_literal.integer, 0)
                                              : arguments[0].length);
  return Result::ok;
}

Result left(Run& run, Arguments arguments, Value& result) {
  const std::int32_t count = std::max(run.integer(arguments[1]), 0);
  result.set_text(run.text(arguments[0]).substr(0, static_cast<std::size_t>(count)));
  return Result::ok;
}

constexpr Function kFunctions[] = {
    {Token::left, 2, 2, {kCharacterOrMemo, kNumericOnly}, left_rule, left},
    {Token::upper, 1, 1, {kCharacter}, rule::text_like_first, upper},
};

}  // namespace

std::span<const Function> text_functions() { return kFunctions; }

}  // namespace vqdb::expr
