#include <gtest/gtest.h>

#include <string>

#include "support/bound_table.h"

namespace vqdb::testing {
namespace {

struct Parsed {
  Parsed(BoundTable& bound, const char* text, VqTable* table) {
    result = lib.dEparse(&bound.block, text, table, &expr, &type, &length);
  }

  VqExpr* expr = nullptr;
  char type = '?';
  std::int32_t length = -1;
  std::int32_t result = 0;
};

struct Ran {
  Ran(BoundTable& bound, VqExpr* expr, const void* record) {
    result = lib.dErun(&bound.block, expr, record, 0, 0, text, &length);
    detail = bound.block.detail;
  }

  char text[1100] = "?";
  std::int32_t length = -1;
  std::int32_t result = 0;
  std::int32_t detail = 0;
};

TEST(ExpressionHandles, bad_ones_are_refused) {
  BoundTable bound;
  const Ran null(bound, nullptr, bound.record.data());
  EXPECT_EQ(null.result, VQ_E_EMPTY);
  EXPECT_EQ(null.detail, 6061);
  EXPECT_EQ(std::string(null.text), "");
  EXPECT_EQ(null.length, 0);

  const Parsed parsed(bound, "NAME", bound.table);
  ASSERT_EQ(parsed.result, 0);
  EXPECT_EQ(lib.dEfree(parsed.expr), 0);
  bound.block.detail = 0;
  const Ran closed(bound, parsed.expr, bound.record.data());
  EXPECT_EQ(closed.result, VQ_E_BAD_HANDLE);
  EXPECT_EQ(closed.detail, 6061);

  char foreign[600] = {};
  EXPECT_EQ(lib.dEfree(parsed.expr), VQ_E_BAD_HANDLE);
  EXPECT_EQ(lib.dEfree(nullptr), VQ_E_BAD_HANDLE);
  EXPECT_EQ(lib.dEfree(reinterpret_cast<VqExpr*>(foreign)), VQ_E_BAD_HANDLE);
  const Parsed unbound(bound, "NAME", reinterpret_cast<VqTable*>(foreign));
  EXPECT_EQ(unbound.result, VQ_E_BAD_HANDLE);
  EXPECT_EQ(bound.block.detail, 6007);
}

TEST(ExpressionHandles, failed_parses_leave_no_handle) {
  BoundTable bound;
  for (const char* text : {"", "NAME +", "\"open"}) {
    const Parsed parsed(bound, text, bound.table);
    EXPECT_LT(parsed.result, 0) << text;
    EXPECT_EQ(parsed.expr, nullptr) << text;
    EXPECT_EQ(parsed.type, '\0') << text;
    EXPECT_EQ(parsed.length, 0) << text;
  }
  const Parsed null(bound, nullptr, bound.table);
  EXPECT_EQ(null.result, VQ_E_EMPTY);
  EXPECT_EQ(bound.block.detail, 6001);
}

TEST(ExpressionHandles, a_null_record_is_refused_where_a_field_is_read) {
  BoundTable bound;
  const Parsed field(bound, "NAME + 'x'", bound.table);
  const Ran refused(bound, field.expr, nullptr);
  EXPECT_EQ(refused.result, VQ_E_RANGE);
  EXPECT_EQ(refused.detail, 6062);
  const Parsed constant(bound, "'y' + 'x'", bound.table);
  EXPECT_EQ(std::string(Ran(bound, constant.expr, nullptr).text), "yx");
  lib.dEfree(field.expr);
  lib.dEfree(constant.expr);
}

TEST(ExpressionHandles, expressions_outlive_their_table) {
  BoundTable bound;
  const Parsed field(bound, "UPPER(NAME)", bound.table);
  const Parsed number(bound, "RECNO()", bound.table);
  EXPECT_EQ(Ran(bound, number.expr, nullptr).result, 0);
  lib.dDclose(bound.table);
  bound.table = nullptr;
  EXPECT_EQ(std::string(Ran(bound, field.expr, bound.record.data()).text), "SMITH     ");
  const Ran closed(bound, number.expr, nullptr);
  EXPECT_EQ(closed.result, VQ_E_BAD_HANDLE);
  EXPECT_EQ(closed.detail, 5068);
  lib.dEfree(field.expr);
  lib.dEfree(number.expr);
}

TEST(ExpressionHandles, without_a_table_there_are_no_fields) {
  BoundTable bound;
  const Parsed typed(bound, "1 + 2", nullptr);
  EXPECT_EQ(typed.type, 'N');
  EXPECT_EQ(typed.length, 8);
  lib.dEfree(typed.expr);
  EXPECT_EQ(Parsed(bound, "NAME", nullptr).result, VQ_E_OPERAND);
  EXPECT_EQ(bound.block.detail, 6034);

  // Nor are types checked, until the expression runs.
  EXPECT_EQ(Parsed(bound, "NAME", VQ_NO_TABLE).result, VQ_E_OPERAND);
  const Parsed words(bound, "LEFT('abc', 2) + 'x'", VQ_NO_TABLE);
  EXPECT_EQ(words.result, 0);
  EXPECT_EQ(words.type, '?');
  EXPECT_EQ(words.length, 6);  // the mark of the arguments, 'abc', 2, LEFT, 'x' and +
  EXPECT_EQ(std::string(Ran(bound, words.expr, nullptr).text), "abx");
  lib.dEfree(words.expr);
  const struct {
    const char* text;
    std::int32_t result;
    std::int32_t detail;
  } refused[] = {{"1 + 'x'", VQ_E_OPERAND, 5001},
                 {"UPPER()", VQ_E_TOO_FEW, 5086},
                 {"1 2", VQ_E_OPERAND, 6052},
                 {"1 / 0", VQ_E_DIVISION, 5004}};
  for (const auto& c : refused) {
    const Parsed parsed(bound, c.text, VQ_NO_TABLE);
    EXPECT_EQ(parsed.result, 0) << c.text;
    const Ran ran(bound, parsed.expr, nullptr);
    EXPECT_EQ(ran.result, c.result) << c.text;
    EXPECT_EQ(ran.detail, c.detail) << c.text;
    lib.dEfree(parsed.expr);
  }
}

TEST(ExpressionHandles, evaluating_parses_runs_and_frees) {
  BoundTable bound;
  char text[1001];
  char type = 0;
  std::int32_t length = 0;
  const auto evaluate = [&](const char* expression) {
    return lib.dEeval(&bound.block, expression, bound.table, bound.record.data(), text, &type,
                      &length);
  };
  EXPECT_EQ(evaluate("UPPER(NAME) - STATE"), 0);
  EXPECT_EQ(std::string(text), "SMITHCA     ");
  EXPECT_EQ(type, 'C');
  EXPECT_EQ(length, 12);
  EXPECT_EQ(evaluate("DUE"), 0);
  EXPECT_EQ(type, 'D');
  EXPECT_EQ(length, 8);
  EXPECT_EQ(evaluate("NAME + 1"), VQ_E_OPERAND);
  EXPECT_EQ(bound.block.detail, 5001);
  EXPECT_EQ(evaluate("1 / 0"), VQ_E_DIVISION);
  EXPECT_EQ(bound.block.detail, 5004);
}

TEST(ExpressionHandles, null_arguments_are_refused) {
  BoundTable bound;
  const Parsed parsed(bound, "NAME", bound.table);
  VqExpr* expr = nullptr;
  char type = 0;
  std::int32_t length = 0;
  char buffer[100];
  EXPECT_EQ(lib.dEparse(nullptr, "1", nullptr, &expr, &type, &length), VQ_E_RANGE);
  EXPECT_EQ(lib.dEparse(&bound.block, "1", nullptr, nullptr, &type, &length), VQ_E_RANGE);
  EXPECT_EQ(lib.dEparse(&bound.block, "1", nullptr, &expr, nullptr, &length), VQ_E_RANGE);
  EXPECT_EQ(lib.dEparse(&bound.block, "1", nullptr, &expr, &type, nullptr), VQ_E_RANGE);
  const char* record = bound.record.data();
  EXPECT_EQ(lib.dErun(nullptr, parsed.expr, record, 0, 0, buffer, &length), VQ_E_RANGE);
  EXPECT_EQ(lib.dErun(&bound.block, parsed.expr, record, 0, 0, nullptr, &length), VQ_E_RANGE);
  EXPECT_EQ(lib.dErun(&bound.block, parsed.expr, record, 0, 0, buffer, nullptr), VQ_E_RANGE);
  EXPECT_EQ(lib.dEeval(&bound.block, "1", nullptr, record, nullptr, &type, &length), VQ_E_RANGE);
  lib.dEfree(parsed.expr);
}

}  // namespace
}  // namespace vqdb::testing
