#include <gtest/gtest.h>

#include <string>

#include "support/bound_table.h"

namespace vqdb::testing {
namespace {

struct Case {
  std::string text;
  std::string expected;
};

void expect_all(std::uint32_t kind, std::initializer_list<Case> cases) {
  BoundTable bound(kind);
  for (const Case& c : cases) EXPECT_EQ(bound.describe(c.text), c.expected) << c.text;
}

TEST(ExpressionSyntax, literals_and_fields_have_their_type_length_and_value) {
  expect_all(1, {
                    {"NAME", "C10 [Smith     ]"},
                    {"name", "C10 [Smith     ]"},
                    {"NOTES", "M10 [         7]"},
                    {"AMOUNT", "N 6000.5"},
                    {"RATE", "N 1.5"},
                    {"DUE", "D 01/02/95"},
                    {"PAID", "D   /  /  "},
                    {"ACTIVE", "L T"},
                    {"\"it's [1]\"", "C8 [it's [1]]"},
                    {"'say \"x\"'", "C7 [say \"x\"]"},
                    {"[don't \"]", "C7 [don't \"]"},
                    {"\"\"", "C254 []"},
                    {"\"1234567890123456789\"", "C19 [1234567890123456789]"},
                    {"\"12345678901234567890\"", "C20 [12345678901234567890]"},
                    {"{12/31/94}", "D 12/31/94"},
                    {"{}", "D   /  /  "},
                    {"{02/30/94}", "D   /  /  "},
                    {".t.", "L T"},
                    {".Y.", "L T"},
                    {".F.", "L F"},
                    {".n.", "L F"},
                    {"1.5", "N 1.5"},
                    {".5", "N 0.5"},
                    {"5.", "N 5"},
                    {"007", "N 7"},
                    {"1E3", "N 1000"},
                    {"9X9", "N 9"},
                    {" \t 5 \t ", "N 5"},
                });
}

TEST(ExpressionSyntax, operators_group_by_their_precedence) {
  expect_all(1, {
                    {"1+2*3", "N 7"},
                    {"2*3**2", "N 18"},
                    {"2^3^2", "N 64"},
                    {"10-4-3", "N 3"},
                    {"7-2 = 5", "L T"},
                    // .OR. binds tighter than .AND.
                    {".F. .AND. .F. .OR. .T.", "L F"},
                    {".T. .OR. .F. .AND. .F.", "L F"},
                    {"(.T. .OR. .F.) .AND. .F.", "L F"},
                    // .OR. binds tighter than $, and $ tighter than .AND.
                    {"\"a\" $ \"abc\" .AND. \"z\" $ \"abc\"", "L F"},
                    {"\"a\" $ \"abc\" .OR. .F.", "-25/5015"},
                    // .NOT. reaches as far as it can, and takes nothing from the left.
                    {".NOT. .F. .AND. .F.", "L T"},
                    {"(.NOT. .F.) .AND. .F.", "L F"},
                    {".T. .AND. .NOT. .F.", "-25/5014"},
                    {".T. .AND. (.NOT. .F.)", "L T"},
                    // A comma takes one operator; the other waits and takes the next argument.
                    {"LEFT(NAME+STATE, 11)", "C11 [Smith     C]"},
                    {"MOD(1+2*3, 4)", "N 1"},
                    {"MOD((1+2*3), 4)", "N 3"},
                });
}

TEST(ExpressionSyntax, a_minus_negates_only_the_number_behind_it) {
  expect_all(1, {
                    {"-5", "N -5"},
                    {"--5", "N -5"},
                    {"-+5", "N -5"},
                    {"+5", "N 5"},
                    {"3--2", "N 5"},
                    {"-2**2", "N 4"},
                    {"-(2+3)", "N 5"},
                    {"-AMOUNT", "N -6000.5"},
                    {"-DEBT", "N 12.25"},
                    {"-NAME", "C10 [Smith     ]"},
                    {"-MOD(7,4)", "N 3"},
                    {"(5)-3", "N 2"},
                    {"MOD(7,-3)", "N -2"},
                });
}

TEST(ExpressionSyntax, operators_have_several_spellings) {
  expect_all(1, {
                    {"1 <> 2", "L T"},
                    {"1 # 2", "L T"},
                    {"1 =< 2", "L T"},
                    {"1 => 2", "L F"},
                    {"1 <= 2", "L T"},
                    {"1 >= 2", "L F"},
                    {".T. and .F.", "L F"},
                    {".T. Or.F.", "L T"},
                    {"not.T.", "L F"},
                    {"ACTIVE AND1=1", "L T"},
                    {"ACTIVE.and.ACTIVE", "L T"},
                    {"UPPER (NAME)", "C10 [SMITH     ]"},
                    {"ANDY", "-25/6034"},
                    {"A.AND.ACTIVE", "-25/6034"},
                });
}

TEST(ExpressionSyntax, dialects_extend_it) {
  const std::initializer_list<Case> refused = {
      {"1 != 2", "-25/6034"},       {"NAME == \"Smith\"", "-25/5010"}, {"!ACTIVE", "-25/6034"},
      {"PADR(NAME,1)", "-23/6020"}, {"ALLTRIM(1)", "-23/6020"},        {"FIELD->NAME", "-25/6034"}};
  expect_all(1, refused);
  expect_all(4, refused);
  expect_all(8, {
                    {"1 != 2", "L T"},
                    {"!ACTIVE", "L F"},
                    {"NAME == \"Smith\"", "L F"},
                    {"NAME == \"Smith     \"", "L T"},
                    {"1.5 == 3/2", "L T"},
                    {"FIELD->NAME", "-25/6034"},
                });
  expect_all(16, {
                     {"FIELD->STATE", "C2 [CA]"},
                     {"field -> State", "C2 [CA]"},
                     {"FIELD->.5", "N 0.5"},
                     {"FIELD->.X", "-25/6033"},
                     {"FIELD->", "-25/6034"},
                     {"X->STATE", "-25/6034"},
                     {"NAME->STATE", "-25/5002"},
                     {"1 != 2", "-25/6034"},
                 });
}

TEST(ExpressionSyntax, broken_texts_are_refused_with_their_own_codes) {
  expect_all(1, {
                    {"", "-32/6001"},
                    {" ", "-25/6052"},
                    {"\"abc", "-22/6012"},
                    {"'abc\"", "-22/6012"},
                    {"[abc", "-22/6012"},
                    {"{01/01/95", "-22/6012"},
                    {".", "-24/6016"},
                    {".X", "-24/6016"},
                    {"..5", "-24/6016"},
                    {".TRUE.", "-24/6016"},
                    {"NAMES(1)", "-23/6020"},
                    {"NAME(1)", "-23/6020"},
                    {"(1", "-30/6022"},
                    {"1)", "-30/6022"},
                    {"MOD(1,2", "-30/6022"},
                    {")(", "-9/6042"},
                    {"NOBODY", "-25/6034"},
                    {"_1", "-25/6034"},
                    {"NAME ? 1", "-25/6034"},
                    {"\x01", "-25/6034"},
                    {"\xE9t\xE9", "-25/6034"},
                    {"1 2", "-25/6052"},
                    {"12.5", "-25/6052"},
                    {"1,2", "-25/6052"},
                    {"()", "-25/6052"},
                    {"NAME NAME", "-25/6052"},
                    {"1+", "-25/5001"},
                    {"*1", "-25/5003"},
                    {"1 = = 1", "-25/5010"},
                    {"UPPER()", "-28/5086"},
                    {"MOD(1)", "-28/5061"},
                    {"MOD(NAME)", "-28/5061"},
                    {"UPPER(1)", "-27/5086"},
                    {"MOD(1,NAME)", "-27/5061"},
                    {"UPPER(NAME,NAME)", "-29/5086"},
                    // The last arguments are looked at before their number is.
                    {"UPPER(NAME,1)", "-27/5086"},
                    {"RECNO(1)", "-29/5068"},
                    {"BLOB = BLOB", "-25/5010"},
                    {"NAME + UPPER(NOTES)", "-27/5086"},
                });
}

// Blanks between words are free; everything else counts, quotes included.
TEST(ExpressionSyntax, texts_end_at_239_characters) {
  const auto times = [](const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
  };
  BoundTable bound;
  EXPECT_EQ(bound.describe("1" + times(" +1", 119)), "N 120");
  EXPECT_EQ(bound.describe("1" + times(" +1", 119) + "+"), "-21/6011");
  EXPECT_EQ(bound.describe(times("1 ", 240)), "-21/6017");
  EXPECT_EQ(bound.describe(times("(", 240)), "-21/6011");
  EXPECT_EQ(bound.describe("'" + times("x", 237) + "'"), "C237 [" + times("x", 237) + "]");
  EXPECT_EQ(bound.describe("'" + times("x", 238) + "'"), "-21/6014");
  EXPECT_EQ(bound.describe("'" + times(" ", 240) + "'"), "-21/6013");
  EXPECT_EQ(bound.describe(times("x", 239)), "-25/6034");
  EXPECT_EQ(bound.describe(times("x", 240)), "-21/6018");
  EXPECT_EQ(bound.describe("1+" + times("x", 238)), "-21/6017");
  EXPECT_EQ(bound.describe("1" + times(" ", 5000) + "+1"), "N 2");
  EXPECT_EQ(bound.describe(times("(", 119) + "1" + times(")", 119)), "N 1");
}

}  // namespace
}  // namespace vqdb::testing
