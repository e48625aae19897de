#include <gtest/gtest.h>

#include <array>
#include <string>

#include "support/bound_table.h"

namespace vqdb::testing {
namespace {

TEST(ExpressionOperators, admit_the_pairs_of_types_of_their_tables) {
  constexpr std::array<const char*, 5> kOperands = {"NAME", "AMOUNT", "DUE", "ACTIVE", "NOTES"};
  struct Row {
    const char* spelling;
    int token;
    // Rows by the left operand, columns by the right one; a dash where they do not go together.
    std::array<const char*, 5> types;
  };
  constexpr std::array<const char*, 5> kCompared = {"L----", "-L---", "--L--", "---L-", "-----"};
  constexpr std::array<const char*, 5> kProduct = {"-----", "-N---", "-----", "-----", "-----"};
  constexpr std::array<const char*, 5> kLogical = {"-----", "-----", "-----", "---L-", "-----"};
  const Row rows[] = {
      {"+", 1, {"C----", "-ND--", "-D---", "-----", "-----"}},
      {"-", 2, {"C----", "-N---", "-DN--", "-----", "-----"}},
      {"*", 3, kProduct},
      {"/", 4, kProduct},
      {"^", 5, kProduct},
      {"<", 6, kCompared},
      {"<=", 7, kCompared},
      {">", 8, kCompared},
      {">=", 9, kCompared},
      {"=", 10, kCompared},
      {"==", 11, kCompared},
      {"<>", 12, kCompared},
      {"$", 13, {"L----", "-----", "-----", "-----", "-----"}},
      {".AND.", 14, kLogical},
      {".OR.", 15, kLogical},
  };
  BoundTable bound(8);
  for (const Row& row : rows) {
    for (std::size_t left = 0; left < kOperands.size(); ++left) {
      for (std::size_t right = 0; right < kOperands.size(); ++right) {
        const std::string text =
            std::string(kOperands[left]) + " " + row.spelling + " " + kOperands[right];
        const Outcome outcome = bound.evaluate(text);
        const char type = row.types[left][right];
        if (type == '-') {
          EXPECT_EQ(outcome.result, VQ_E_OPERAND) << text;
          EXPECT_EQ(outcome.detail, 5000 + row.token) << text;
        } else {
          EXPECT_EQ(outcome.result, 0) << text;
          EXPECT_EQ(outcome.type, type) << text;
          EXPECT_EQ(outcome.parsed_length, type == 'C' ? 20 : type == 'L' ? 1 : 8) << text;
        }
      }
    }
  }
  for (std::size_t i = 0; i < kOperands.size(); ++i) {
    const Outcome outcome = bound.evaluate(std::string("!") + kOperands[i]);
    EXPECT_EQ(outcome.result, i == 3 ? 0 : VQ_E_OPERAND) << kOperands[i];
  }
}

TEST(ExpressionOperators, compare_values) {
  struct Case {
    const char* left;
    const char* right;
    bool exact;
    const char* answers;  // to < <= > >= = <> ==
  };
  const Case cases[] = {
      {"'ABC'", "'AB'", false, "FTFTTFF"},  // as far as the right text goes
      {"'AB'", "'ABC'", false, "TTFFFTF"},  // a text that ends first is less
      {"'AB'", "'ABC'", true, "TTFFFTF"},
      {"'AB'", "''", false, "FTFTTFF"},
      {"''", "''", false, "FTFTTFT"},
      {"'AB'", "'AC'", false, "TTFFFTF"},
      {"'AC'", "'AB'", false, "FFTTFTF"},
      {"'\xE9'", "'A'", false, "TTFFFTF"},  // bytes are signed
      {"'AB '", "'AB'", false, "FTFTTFF"},
      {"'AB'", "'AB  '", false, "TTFFFTF"},
      {"'AB'", "'AB \t'", true, "FTFTTFF"},  // white space at the end does not count
      {"'B'", "'AA'", true, "TTFFFTF"},      // other lengths are less, both ways
      {"'AA'", "'B'", true, "TTFFFTF"},
      {"'B'", "'A'", true, "FFTTFTF"},
      {"'ABC'", "'AB'", true, "TTFFFTF"},
      {"NAME", "'Smith'", true, "FTFTTFF"},
      {"1", "2", false, "TTFFFTF"},
      {"0.1+0.2", "0.3", false, "FFTTFTF"},  // doubles, to the last bit
      {"2", "2.0", false, "FTFTTFT"},
      {"10**400", "10**400", false, "FTFTTFT"},  // infinity has an equal
      {"-1*10**400", "10**400", false, "TTFFFTF"},
      {"DUE", "{01/03/95}", false, "TTFFFTF"},
      {"DUE", "{01/02/95}", false, "FTFTTFT"},
      {"PAID", "{}", false, "FTFTTFT"},
      {"DUE", "PAID", false, "FFTTFTF"},
      {".T.", ".T.", false, "FTFTTFT"},
      {".F.", ".F.", false, "FFFFFTF"},  // only true equals true
      {".T.", ".F.", false, "FFFFFTF"},
  };
  constexpr std::array<const char*, 7> kOperators = {"<", "<=", ">", ">=", "=", "<>", "=="};
  BoundTable bound(8);
  for (const Case& c : cases) {
    lib.dUsetexact(&bound.block, c.exact ? 1 : 0);
    std::string answers;
    for (const char* op : kOperators) {
      answers += bound.evaluate(std::string(c.left) + " " + op + " " + c.right).bytes;
    }
    EXPECT_EQ(answers, c.answers) << c.left << " and " << c.right << (c.exact ? " exactly" : "");
  }
}

TEST(ExpressionOperators, compute_values) {
  struct Case {
    const char* text;
    const char* expected;
  };
  const Case cases[] = {
      {"'AB' + 'CD'", "C4 [ABCD]"},
      {"NAME + CITY", "C35 [Smith     San Francisco            ]"},
      {"'1234567890' + '123456789'", "C19 [1234567890123456789]"},
      {"'1234567890' + '1234567890'", "C20 [12345678901234567890]"},
      {"NAME + CITY + NAME + CITY - NAME - 'x'",
       "C81 [Smith     San Francisco            Smith     San FranciscoSmithx"
       "                 ]"},
      {"'' + NAME", "C254 [Smith     ]"},
      {"'AB  ' - 'CD'", "C6 [ABCD  ]"},
      {"'    ' - 'CD'", "C6 [CD    ]"},
      {"NAME - CITY - '.'", "C36 [SmithSan Francisco.                 ]"},
      {"AMOUNT + DEBT", "N 5988.25"},
      {"AMOUNT - 0.5", "N 6000"},
      {"DEBT * 4 / 7", "N -7"},
      {"2 ** 0.5 * 2 ** 0.5 > 2", "L T"},
      {"2 ^ -1", "N 0.5"},
      {"DUE + 30", "D 02/01/95"},
      {"30 + DUE", "D 02/01/95"},
      {"DUE - 2", "D 12/31/94"},
      {"DUE - {12/31/94}", "N 2"},
      {"{12/31/94} - DUE", "N -2"},
      {"PAID + 30", "D   /  /  "},
      {"DUE + 1E300", "D   /  /  "},
      {"DUE - 1E300", "D   /  /  "},
      {"'Fran' $ CITY", "L T"},
      {"'fran' $ CITY", "L F"},
      {"'' $ NAME", "L T"},
      {"CITY $ 'San'", "L F"},
      {".T. .AND. ACTIVE", "L T"},
      {".F. .OR. .F.", "L F"},
      {".NOT. ACTIVE", "L F"},
      {"10 / 0", "-31/5004"},
      {"10 / -0", "-31/5004"},
      {"AMOUNT / (DEBT - DEBT)", "-31/5004"},
      // What is right of .AND. and .OR. is always evaluated.
      {".F. .AND. 1/0 = 1", "-31/5004"},
      {".T. .OR. 1/0 = 1", "-31/5004"},
  };
  BoundTable bound;
  for (const Case& c : cases) EXPECT_EQ(bound.describe(c.text), c.expected) << c.text;
}

TEST(ExpressionOperators, read_fields_as_they_are) {
  BoundTable bound;
  const auto describe_with = [&](std::size_t offset, const std::string& bytes, const char* text) {
    std::string saved = bound.record;
    bound.record.replace(offset, bytes.size(), bytes);
    const std::string described = bound.describe(text);
    bound.record = std::move(saved);
    return described;
  };
  constexpr std::size_t kAmount = 38;
  constexpr std::size_t kDue = 66;
  constexpr std::size_t kActive = 82;
  EXPECT_EQ(describe_with(kAmount, "            ", "AMOUNT + 1"), "N 1");
  EXPECT_EQ(describe_with(kAmount, "************", "AMOUNT + 1"), "N 1");
  EXPECT_EQ(describe_with(kAmount, "  12abc34   ", "AMOUNT + 1"), "N 13");
  EXPECT_EQ(describe_with(kAmount, "-.5         ", "-AMOUNT"), "N 0.5");
  EXPECT_EQ(describe_with(kDue, "19950229", "DUE = {}"), "L T");
  EXPECT_EQ(describe_with(kDue, "00000000", "DUE"), "D   /  /  ");
  for (const char* yes : {"T", "t", "Y", "y"}) {
    EXPECT_EQ(describe_with(kActive, yes, "ACTIVE"), "L T") << yes;
  }
  for (const char* no : {"F", "N", "?", " ", "1"}) {
    EXPECT_EQ(describe_with(kActive, no, "ACTIVE"), "L F") << no;
  }
}

TEST(ExpressionOperators, date_literals_follow_the_format_in_force) {
  BoundTable bound;
  VqExpr* expr = nullptr;
  char type = 0;
  std::int32_t length = 0;
  ASSERT_EQ(lib.dEparse(&bound.block, "{01/02/95} + 0", bound.table, &expr, &type, &length), 0);
  struct Case {
    int format;
    int century;
    const char* expected;
  };
  const Case cases[] = {{0, 0, "01/02/95"},
                        {2, 0, "01/02/95"},
                        {2, 1, "01/02/1995"},
                        {0, 1, "01/02/1995"},
                        {1, 0, "  .  .  "}};
  for (const Case& c : cases) {
    lib.dUsetdate(&bound.block, c.format);
    lib.dUsetcent(&bound.block, c.century);
    char text[16];
    ASSERT_EQ(lib.dErun(&bound.block, expr, nullptr, 0, 0, text, &length), 0);
    EXPECT_EQ(std::string(text), c.expected) << c.format;
  }
  lib.dUsetdate(&bound.block, 2);
  char key[8];
  ASSERT_EQ(lib.dErun(&bound.block, expr, nullptr, 1, 0, key, &length), 0);
  EXPECT_EQ(number_in(std::string(key, 8)), 2449750.0);  // 1 February 1995
  lib.dEfree(expr);
}

}  // namespace
}  // namespace vqdb::testing
