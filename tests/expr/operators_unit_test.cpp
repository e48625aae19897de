#include "expr/operators.h"
#include "support/test.h"

namespace vqdb::expr {
namespace {

// No text makes a float operand yet; indexes and hosts may still meet the type.
TEST(Operators, two_floats_give_a_float_and_any_other_pair_a_number) {
  constexpr std::array kTypes = {Type::character, Type::numeric, Type::floating,
                                 Type::date,      Type::logical, Type::memo};
  const struct {
    Token token;
    const char* float_left;   // by the right type; a dash where they do not go together
    const char* float_right;  // by the left type
  } rows[] = {{Token::plus, "-NFD--", "-NFD--"},      {Token::minus, "-NF---", "-NFD--"},
              {Token::multiply, "-NF---", "-NF---"},  {Token::divide, "-NF---", "-NF---"},
              {Token::power, "-NF---", "-NF---"},     {Token::less, "-LL---", "-LL---"},
              {Token::equal, "-LL---", "-LL---"},     {Token::contained, "------", "------"},
              {Token::logical_or, "------", "------"}};
  constexpr char kLetters[] = "-CNFDLM";
  for (const auto& row : rows) {
    std::string left, right;
    for (const Type other : kTypes) {
      const Operator& op = operator_of(row.token);
      left += kLetters[static_cast<int>(op.result_type(Type::floating, other))];
      right += kLetters[static_cast<int>(op.result_type(other, Type::floating))];
    }
    EXPECT_EQ(left, row.float_left) << number_of(row.token);
    EXPECT_EQ(right, row.float_right) << number_of(row.token);
  }
}

}  // namespace
}  // namespace vqdb::expr
