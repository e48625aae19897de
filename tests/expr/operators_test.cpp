#include "support/bound_table.h"

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
  const Row rows[] = {{"+", 1, {"C----", "-ND--", "-D---", "-----", "-----"}},
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
                      {".OR.", 15, kLogical}};
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
  const struct {
    const char* left;
    const char* right;
    bool exact;
    const char* answers;                             // to < <= > >= = <> ==
  } cases[] = {{"'ABC'", "'AB'", false, "FTFTTFF"},  // as far as the right text goes
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
               {".T.", ".F.", false, "FFFFFTF"}};
  constexpr std::array<const char*, 7> kOperators = {"<", "<=", ">", ">=", "=", "<>", "=="};
  BoundTable bound(8);
  for (const auto& c : cases) {
    lib.dUsetexact(&bound.block, c.exact ? 1 : 0);
    std::string answers;
    for (const char* op : kOperators) {
      answers += bound.evaluate(std::string(c.left) + " " + op + " " + c.right).bytes;
    }
    EXPECT_EQ(answers, c.answers) << c.left << " and " << c.right << (c.exact ? " exactly" : "");
  }
}

}  // namespace
