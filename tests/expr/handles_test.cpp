#include "support/bound_table.h"
#include "table/scratch_table.h"

namespace {

std::string codes_of(const Outcome& outcome) { return codes(outcome.result, outcome.detail); }

TEST(ExpressionHandles, a_filter_gives_the_records_for_which_a_run_is_true) {
  ScratchTable scratch;
  scratch.append(1, 300);
  OpenTable table(scratch.block, scratch.name, 0, 2);
  const auto parse = [&](const char* text) {
    VqExpr* expr = nullptr;
    char type = 0;
    std::int32_t length = 0;
    EXPECT_EQ(0, lib.dEparse(&scratch.block, text, table, &expr, &type, &length)) << text;
    return expr;
  };
  std::vector<std::uint32_t> recnos(400);
  std::uint32_t got = 9;
  VqExpr* const some = parse("MOD(NUMBER,7) = 3 .OR. RECNO() = 8");
  EXPECT_EQ(0, lib.dEfilter(some, table, 5, 20, recnos.data(), &got));
  recnos.resize(got);
  EXPECT_EQ((std::vector<std::uint32_t>{8, 10, 17, 24}), recnos);
  recnos.resize(400);
  EXPECT_EQ("-4/263",
            codes(lib.dEfilter(some, table, 290, 20, recnos.data(), &got), scratch.block));
  EXPECT_EQ((std::pair{2u, 297u}), (std::pair{got, recnos[1]}));
  VqExpr* const failing = parse("1/(NUMBER-12) > 0");
  EXPECT_EQ("-31/5004",
            codes(lib.dEfilter(failing, table, 10, 9, recnos.data(), &got), scratch.block));
  EXPECT_EQ(0u, got);
  VqExpr* const text = parse("TEXT");
  EXPECT_EQ("-9/6063", codes(lib.dEfilter(text, table, 1, 1, recnos.data(), &got), scratch.block));

  ScratchTable narrow;
  ASSERT_EQ(0, create_table(narrow.block, narrow.folder.file("N"), {"A", "C9"}));
  OpenTable other(narrow.block, narrow.folder.file("N"), 0, 1);
  EXPECT_EQ("-9/6063", codes(lib.dEfilter(some, other, 1, 1, recnos.data(), &got), narrow.block))
      << "a field lies behind its records";
  for (VqExpr* const expr : {some, failing, text}) EXPECT_EQ(0, lib.dEfree(expr));
  EXPECT_EQ("-10/6061", codes(lib.dEfilter(some, table, 1, 1, recnos.data(), &got), scratch.block));
}

TEST(ExpressionHandles, failed_parses_leave_no_handle) {
  BoundTable bound;
  for (const char* text : {static_cast<const char*>(nullptr), "", "NAME +", "\"open"}) {
    Program failed(bound, text, bound.table);
    EXPECT_EQ(text == nullptr || *text == '\0' ? VQ_E_EMPTY
              : *text == '"'                   ? VQ_E_OPEN_QUOTE
                                               : VQ_E_OPERAND,
              failed.result);
    EXPECT_EQ(nullptr, failed.expr);
    EXPECT_EQ('\0', failed.type);
    EXPECT_EQ(0, failed.length);
  }
}

TEST(ExpressionHandles, a_null_record_is_refused_where_a_field_is_read) {
  BoundTable bound;
  EXPECT_EQ("-4/6062", codes_of(Program(bound, "NAME + 'x'").run(nullptr)));
  EXPECT_EQ("yx", Program(bound, "'y' + 'x'").run(nullptr).bytes);
}

TEST(ExpressionHandles, expressions_outlive_their_table) {
  BoundTable bound;
  Program field(bound, "UPPER(NAME)");
  std::vector<std::unique_ptr<Program>> askers;  // of the table
  for (const char* text : {"RECNO()", "RECCOUNT()", "RECSIZE()", "DELETED()", "FIELD(1)"}) {
    askers.push_back(std::make_unique<Program>(bound, text));
    EXPECT_EQ(0, askers.back()->run(bound.record.data()).result);
    // Without a table they answer as an empty work area does.
    Program free(bound, text, nullptr);
    const std::string nothing = free.type == 'L'   ? "F"
                                : free.type == 'N' ? std::string(8, '\0')
                                                   : "";
    EXPECT_EQ(nothing, free.run(nullptr).bytes) << text;
  }
  EXPECT_EQ("-4/5035", codes_of(askers[3]->run(nullptr)));
  lib.dDclose(bound.table);
  bound.table = nullptr;
  EXPECT_EQ("SMITH     ", field.value(bound.record));
  for (const auto& asker : askers) EXPECT_EQ(VQ_E_BAD_HANDLE, asker->run(nullptr).result);
  EXPECT_EQ("-10/5068", codes_of(askers.front()->run(nullptr)));
}

TEST(ExpressionHandles, without_a_table_there_are_no_fields) {
  BoundTable bound;
  EXPECT_EQ("N8", Program(bound, "1 + 2", nullptr).type + std::string("8"));
  EXPECT_EQ("-25/6034", codes_of(Program(bound, "NAME", nullptr).run(nullptr)));

  // Nor are types checked, until the expression runs.
  EXPECT_EQ("-25/6034", codes_of(Program(bound, "NAME", VQ_NO_TABLE).run(nullptr)));
  Program words(bound, "LEFT('abc', 2) + 'x'", VQ_NO_TABLE);
  EXPECT_EQ('?', words.type);
  EXPECT_EQ(6, words.length);  // the mark of the arguments, 'abc', 2, LEFT, 'x' and +
  EXPECT_EQ("abx", words.run(nullptr).bytes);
  for (const auto& [text, refusal] : {std::pair("1 + 'x'", "-25/5001"),
                                      {"UPPER()", "-28/5086"},
                                      {"1 2", "-25/6052"},
                                      {"1 / 0", "-31/5004"}}) {
    Program program(bound, text, VQ_NO_TABLE);
    EXPECT_EQ(0, program.result) << text;
    EXPECT_EQ(refusal, codes_of(program.run(nullptr))) << text;
  }
}

TEST(ExpressionHandles, evaluating_parses_runs_and_frees) {
  BoundTable bound;
  char text[1001], type = 0;
  std::int32_t length = 0;
  const auto evaluate = [&](const char* expression) {
    return lib.dEeval(&bound.block, expression, bound.table, bound.record.data(), text, &type,
                      &length);
  };
  EXPECT_EQ(0, evaluate("UPPER(NAME) - STATE"));
  EXPECT_STREQ("SMITHCA     ", text);
  EXPECT_EQ('C', type);
  EXPECT_EQ(12, length);
  EXPECT_EQ(0, evaluate("DUE"));
  EXPECT_EQ('D', type);
  EXPECT_EQ("-25/5001", codes(evaluate("NAME + 1"), bound.block));
  EXPECT_EQ("-31/5004", codes(evaluate("1 / 0"), bound.block));
  EXPECT_EQ(VQ_E_EMPTY, lib.dErun(&bound.block, nullptr, nullptr, 0, 0, text, &length));
  EXPECT_EQ("0", text + std::to_string(length)) << "nothing is delivered";
}

}  // namespace
