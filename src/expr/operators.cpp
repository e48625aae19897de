#include "expr/operators.h"

#include <algorithm>
#include <limits>

namespace vqdb::expr {

namespace {

constexpr Type _ = Type::none;
constexpr Type C = Type::character;
constexpr Type N = Type::numeric;
constexpr Type F = Type::floating;
constexpr Type D = Type::date;
constexpr Type L = Type::logical;

// Right:                         C  N  F  D  L     left:
constexpr TypeTable kCompared = {{{L, _, _, _, _},    // C
                                  {_, L, L, _, _},    // N
                                  {_, L, L, _, _},    // F
                                  {_, _, _, L, _},    // D
                                  {_, _, _, _, L}}};  // L

constexpr TypeTable kSum = {
    {{C, _, _, _, _}, {_, N, N, D, _}, {_, N, F, D, _}, {_, D, D, _, _}, {_, _, _, _, _}}};

constexpr TypeTable kDifference = {
    {{C, _, _, _, _}, {_, N, N, _, _}, {_, N, F, _, _}, {_, D, D, N, _}, {_, _, _, _, _}}};

constexpr TypeTable kProduct = {
    {{_, _, _, _, _}, {_, N, N, _, _}, {_, N, F, _, _}, {_, _, _, _, _}, {_, _, _, _, _}}};

constexpr TypeTable kContained = {{{L, _, _, _, _}}};
constexpr TypeTable kLogicals = {{{}, {}, {}, {}, {_, _, _, _, L}}};

void truth_rule(Arguments, Value& result) { result.shape_logical(); }

// A text whose length only a run knows makes the joined length unknown, too.
void sum_rule(Arguments operands, Value& result) {
  const Value& left = operands[0];
  const Value& right = operands[1];
  if (result.type == C) {
    const std::int64_t sum = std::int64_t{left.length} + right.length;
    const bool known = left.length != 0 && right.length != 0;
    result.shape_text(known ? static_cast<std::int32_t>(std::min<std::int64_t>(
                                  sum, std::numeric_limits<std::int32_t>::max()))
                            : 0);
  } else {
    result.shape(result.type, 8, std::max(left.integer_digits, right.integer_digits),
                 std::max(left.decimals, right.decimals));
  }
}

void product_rule(Arguments operands, Value& result) {
  const Value& left = operands[0];
  const Value& right = operands[1];
  result.shape(result.type, 8, left.integer_digits + right.integer_digits + 1U,
               left.decimals + right.decimals + 1U);
}

template <Handler handler>
Handler always(Type, Type) {
  return handler;
}

template <Token token>
constexpr Operator kComparison = {token, 5, 2, &kCompared, truth_rule, comparison_handler<token>,
                                  true};

// .OR. binds tighter than $, and that tighter than .AND.; .NOT. binds so loosely that it reaches to
// the next comma or closing parenthesis.
constexpr Operator kTable[] = {
    {Token::plus, 4, 2, &kSum, sum_rule, sum_handler, false, true},
    {Token::minus, 4, 2, &kDifference, sum_rule, difference_handler, false, true},
    {Token::multiply, 3, 2, &kProduct, product_rule, always<multiply>, false, true},
    {Token::divide, 3, 2, &kProduct, product_rule, always<divide>, false, true},
    {Token::power, 2, 2, &kProduct, product_rule, always<raise>, false, true},
    kComparison<Token::less>,
    kComparison<Token::less_or_equal>,
    kComparison<Token::greater>,
    kComparison<Token::greater_or_equal>,
    kComparison<Token::equal>,
    kComparison<Token::exactly_equal>,
    kComparison<Token::not_equal>,
    {Token::contained, 7, 2, &kContained, truth_rule, always<is_contained>, true, true},
    {Token::logical_and, 8, 2, &kLogicals, truth_rule, always<both>, true, true},
    {Token::logical_or, 6, 2, &kLogicals, truth_rule, always<either>, true, true},
    {Token::logical_not, 80, 1, &kLogicals, truth_rule, always<negation>, true, true},
};

constexpr bool tokens_are_positions() {
  for (std::size_t i = 0; i < std::size(kTable); ++i) {
    if (number_of(kTable[i].token) != number_of(Token::plus) + static_cast<int>(i)) return false;
  }
  return std::size(kTable) == number_of(Token::logical_not);
}
static_assert(tokens_are_positions());

}  // namespace

Type Operator::result_type(Type left, Type right) const {
  if (left < C || left > L || right < C || right > L) return Type::none;
  return (*types)[static_cast<std::size_t>(left) - 1][static_cast<std::size_t>(right) - 1];
}

const Operator& operator_of(Token token) {
  return kTable[number_of(token) - number_of(Token::plus)];
}

}  // namespace vqdb::expr
