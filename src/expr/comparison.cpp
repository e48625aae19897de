// The comparisons: =, ==, <>, <, <=, > and >= over texts, numbers, dates and logical values.
#include <algorithm>

#include "expr/operators.h"

namespace vqdb::expr {

namespace {

enum class Order : std::uint8_t { less, greater, equal, different };

// Bytes order as signed ones: those above 127 come before the letters.
bool comes_before(char a, char b) {
  return static_cast<signed char>(a) < static_cast<signed char>(b);
}

// The right text is compared as far as it goes, so an empty one equals every text.
Order compare_prefix(std::string_view left, std::string_view right) {
  const std::size_t shared = std::min(left.size(), right.size());
  for (std::size_t i = 0; i < shared; ++i) {
    if (left[i] != right[i]) return comes_before(left[i], right[i]) ? Order::less : Order::greater;
  }
  return left.size() < right.size() ? Order::less : Order::equal;
}

std::string_view trim_end(std::string_view text) {
  while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
  return text;
}

// Texts of different lengths are less than each other, whichever is longer: a shortcut that makes
// both a < b and b < a true.
Order compare_exactly(std::string_view left, std::string_view right) {
  left = trim_end(left);
  right = trim_end(right);
  return left.size() != right.size() ? Order::less : compare_prefix(left, right);
}

template <Token token>
bool matches(Order order) {
  switch (token) {
    case Token::less:
      return order == Order::less;
    case Token::less_or_equal:
      return order == Order::less || order == Order::equal;
    case Token::greater:
      return order == Order::greater;
    case Token::greater_or_equal:
      return order == Order::greater || order == Order::equal;
    case Token::not_equal:
      return order != Order::equal;
    default:
      return order == Order::equal;
  }
}

Order compare(double left, double right) {
  if (left == right) return Order::equal;
  return left > right ? Order::greater : Order::less;
}

template <Token token>
Result compare_texts(Run& run, Arguments operands, Value& result) {
  const std::string_view left = run.text(operands[0]);
  const std::string_view right = run.text(operands[1]);
  if constexpr (token == Token::exactly_equal) {
    result.set_truth(left == right);
  } else {
    result.set_truth(matches<token>(run.block().exact != 0 ? compare_exactly(left, right)
                                                           : compare_prefix(left, right)));
  }
  return Result::ok;
}

template <Token token>
Result compare_numbers(Run& run, Arguments operands, Value& result) {
  result.set_truth(matches<token>(compare(run.number(operands[0]), run.number(operands[1]))));
  return Result::ok;
}

template <Token token>
Result compare_dates(Run& run, Arguments operands, Value& result) {
  result.set_truth(matches<token>(compare(run.day(operands[0]), run.day(operands[1]))));
  return Result::ok;
}

// Only true equals true: .F. = .F. is false, and .F. <> .F. true.
template <Token token>
Result compare_truths(Run& run, Arguments operands, Value& result) {
  const bool equal = run.truth(operands[0]) && run.truth(operands[1]);
  result.set_truth(matches<token>(equal ? Order::equal : Order::different));
  return Result::ok;
}

}  // namespace

template <Token token>
Handler comparison_handler(Type left, Type) {
  switch (left) {
    case Type::character:
      return compare_texts<token>;
    case Type::date:
      return compare_dates<token>;
    case Type::logical:
      return compare_truths<token>;
    default:
      return compare_numbers<token>;
  }
}

template Handler comparison_handler<Token::less>(Type, Type);
template Handler comparison_handler<Token::less_or_equal>(Type, Type);
template Handler comparison_handler<Token::greater>(Type, Type);
template Handler comparison_handler<Token::greater_or_equal>(Type, Type);
template Handler comparison_handler<Token::equal>(Type, Type);
template Handler comparison_handler<Token::exactly_equal>(Type, Type);
template Handler comparison_handler<Token::not_equal>(Type, Type);

}  // namespace vqdb::expr
