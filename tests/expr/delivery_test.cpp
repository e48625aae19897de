#include "support/bound_table.h"
#include "support/test.h"

namespace {

std::string hex(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

TEST(ExpressionDelivery, key_form_follows_the_options) {
  struct Case {
    const char* text;
    std::uint32_t options;
    const char* key;
  };
  constexpr std::uint32_t kKey = 0x01;
  const Case cases[] = {// Doubles, little-endian: 6000.5, -12.25, 2449720 (2 January 1995).
                        {"AMOUNT", kKey, "000000008070b740"},
                        {"AMOUNT + 0", kKey, "000000008070b740"},
                        {"DEBT", kKey, "00000000008028c0"},
                        {"-DEBT", kKey, "0000000000802840"},
                        {"DUE", kKey, "000000009cb04241"},
                        {"DUE + 0", kKey, "000000009cb04241"},
                        // Packed decimals of numbers; dates have none.
                        {"AMOUNT", kKey | 0x10, "381560005000000000000000"},
                        {"AMOUNT", kKey | 0x20, "381560005000000000000000"},
                        {"AMOUNT + 0", kKey | 0x10, "382960005000000000000000"},
                        {"-AMOUNT", kKey | 0x20, "38a960005000000000000000"},
                        {"DEBT", kKey | 0x10, "369112250000000000000000"},
                        {"0", kKey | 0x10, "340100000000000000000000"},
                        {"DUE", kKey | 0x10, "000000009cb04241"},
                        {"DUE + 0", kKey | 0x20, "000000009cb04241"},
                        // Doubles whose bytes sort.
                        {"AMOUNT", kKey | 0x100, "c0b7708000000000"},
                        {"DEBT + 0", kKey | 0x200, "3fd77fffffffffff"},
                        {"DUE", kKey | 0x100, "c142b09c00000000"},
                        // Texts.
                        {"AMOUNT", kKey | 0x400, "2020202020363030302e3530"},
                        {"-DEBT", kKey | 0x400, "2020202031322e3235"},
                        {"DUE", kKey | 0x400, "3139393530313032"},
                        {"DUE + 1", kKey | 0x400, "3139393530313033"},
                        // Blank dates.
                        {"PAID", kKey, "7d000000c3000000"},
                        {"PAID + 0", kKey, "7d000000c3000000"},
                        {"{}", kKey | 0x100, "8000000000000000"},
                        {"PAID", kKey | 0x400, "2020202020202020"},
                        {"ACTIVE", kKey, "54"},
                        {"ACTIVE = .F.", kKey | 0x10, "46"}};
  BoundTable bound;
  for (const Case& c : cases) {
    const Outcome outcome = bound.evaluate(c.text, c.options);
    EXPECT_EQ(outcome.result, 0) << c.text;
    EXPECT_EQ(hex(outcome.bytes), c.key) << c.text << " with options " << c.options;
  }
}

TEST(ExpressionDelivery, text_keys_are_padded_to_their_length) {
  BoundTable bound;
  EXPECT_EQ(bound.evaluate("LEFT('abc', 6)", 1).bytes, "abc   ");
  EXPECT_EQ(bound.evaluate("LEFT('abc', 6)", 0).bytes, "abc");
  EXPECT_EQ(bound.evaluate("LEFT('abc', 6)", 1, 4).bytes, "abc ");
  EXPECT_EQ(bound.evaluate("STATE + ''", 1).bytes, "CA" + std::string(252, ' '));
  EXPECT_EQ(bound.evaluate("NOTES", 1).bytes, "         7");
}

TEST(ExpressionDelivery, texts_are_cut_to_the_limit_and_ended) {
  struct Case {
    const char* text;
    std::uint32_t options;
    std::int32_t max;
    std::string bytes;  // as delivered
    char behind;        // the byte behind them; '~' is untouched
  };
  const Case cases[] = {{"NAME", 0, 3, "Smi", '\0'},
                        {"NAME", 0, 10, "Smith     ", '\0'},
                        {"NAME", 0, 11, "Smith     ", '\0'},
                        {"NAME", 1, 3, "Smi", '~'},  // a key has no room but its own
                        {"NAME", 1, 10, "Smith     ", '~'},
                        {"NAME", 1, 0, "Smith     ", '\0'},
                        {"DUE", 0, 5, "01/02", '\0'},
                        {"ACTIVE", 0, 1, "T", '\0'},
                        {"ACTIVE", 1, 1, "T", '~'}};
  BoundTable bound;
  for (const Case& c : cases) {
    VqExpr* expr = nullptr;
    char type = 0;
    std::int32_t length = 0;
    ASSERT_EQ(lib.dEparse(&bound.block, c.text, bound.table, &expr, &type, &length), 0);
    std::string buffer(100, '~');
    EXPECT_EQ(lib.dErun(&bound.block, expr, bound.record.data(), c.options, c.max, buffer.data(),
                        &length),
              0);
    EXPECT_EQ(buffer.substr(0, static_cast<std::size_t>(length)), c.bytes) << c.text << c.max;
    EXPECT_EQ(buffer[c.bytes.size()], c.behind) << c.text << c.max;
    EXPECT_EQ(buffer[c.bytes.size() + 1], '~') << c.text << c.max;
    lib.dEfree(expr);
  }
}

// No expression delivers more than 1000 bytes unless more are asked for, and none of unknown
// length more than 254.
TEST(ExpressionDelivery, long_texts_are_cut) {
  BoundTable bound;
  std::string sum = "CITY";
  for (int i = 1; i < 47; ++i) sum += "+CITY";
  EXPECT_EQ(bound.evaluate(sum).parsed_length, 47 * 25);
  EXPECT_EQ(bound.evaluate(sum).bytes.size(), 1000U);
  EXPECT_EQ(bound.evaluate(sum, 1).bytes.size(), 1000U);
  EXPECT_EQ(bound.evaluate(sum + "+''").bytes.size(), 254U);
}

TEST(ExpressionDelivery, fields_that_hold_no_date_have_the_blank_key) {
  BoundTable bound;
  for (const char* const field : {"19950229", "00000000", "19951301", "abcdefgh"}) {
    bound.record.replace(66, 8, field);
    for (const auto& [options, key] : {std::pair{0x01U, "7d000000c3000000"},
                                       {0x21U, "7d000000c3000000"},
                                       {0x101U, "8000000000000000"},
                                       {0x401U, "2020202020202020"}}) {
      for (const char* const text : {"DUE", "DUE + 0"}) {
        const Outcome outcome = bound.evaluate(text, options);
        EXPECT_EQ(outcome.result, 0) << field;
        EXPECT_EQ(hex(outcome.bytes), key) << text << " of " << field;
      }
    }
  }
}

}  // namespace
