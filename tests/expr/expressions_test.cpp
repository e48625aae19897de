// Expressions and what they give: those of expressions.txt, one by one, and what needs more than a
// line to say.
#include <sstream>

#include "support/bound_table.h"

namespace {

constexpr std::string_view kCases =
#include "expressions.txt.inc"
    ;

// The text without the blanks around it, its escapes undone.
std::string unescaped(std::string_view text) {
  const std::size_t first = std::min(text.find_first_not_of(' '), text.size());
  text = text.substr(first, text.find_last_not_of(' ') + 1 - first);
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.substr(i, 2) == "\\t") {
      plain += '\t';
      ++i;
    } else if (text.substr(i, 2) == "\\x") {
      plain += static_cast<char>(std::stoi(std::string(text.substr(i + 2, 2)), nullptr, 16));
      i += 3;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

TEST(Expressions, have_the_values_of_the_list) {
  BoundTable bound;
  std::uint32_t options = 0;
  int cases = 0;
  std::istringstream lines{std::string(kCases)};
  for (std::string line; std::getline(lines, line);) {
    const std::size_t middle = line.find(" ~~ ");
    if (line.starts_with("dialect ")) {
      bound.block.kind = static_cast<std::uint32_t>(std::stoi(line.substr(8)));
    } else if (line.starts_with("keys ")) {
      options = static_cast<std::uint32_t>(std::stoi(line.substr(5), nullptr, 16));
    } else if (middle != std::string::npos) {
      const std::string expected = unescaped(line.substr(middle + 4));
      const std::string text = unescaped(line.substr(0, middle));
      EXPECT_EQ(expected, bound.describe(text, options)) << line;
      ++cases;
      // What is constant is put together where it is a part of something else.
      const bool has_value = std::string_view("CNDL").find(expected.front()) != std::string::npos;
      if (options != 0 || !has_value || text.size() > 100) continue;
      EXPECT_EQ(expected, bound.describe("IIF(.T., (" + text + "), (" + text + "))")) << line;
    }
  }
  EXPECT_GT(cases, 240);
}

// Blanks between words are free; everything else counts, quotes included.
TEST(Expressions, texts_end_at_239_characters) {
  const auto times = [](const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
  };
  BoundTable bound;
  const std::pair<std::string, std::string> cases[] = {
      {"1" + times(" +1", 119), "N 120"},
      {"1" + times(" +1", 119) + "+", "-21/6011"},
      {times("1 ", 240), "-21/6017"},
      {times("(", 240), "-21/6011"},
      {"'" + times("x", 237) + "'", "C237 [" + times("x", 237) + "]"},
      {"'" + times("x", 238) + "'", "-21/6014"},
      {"'" + times(" ", 240) + "'", "-21/6013"},
      {times("x", 239), "-25/6034"},
      {times("x", 240), "-21/6018"},
      {"1+" + times("x", 238), "-21/6017"},
      {"1" + times(" ", 5000) + "+1", "N 2"},
      {times("(", 119) + "1" + times(")", 119), "N 1"}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(expected, bound.describe(text)) << text;
}

TEST(Expressions, text_keys_are_padded_to_their_length) {
  BoundTable bound;
  EXPECT_EQ("abc   ", bound.evaluate("LEFT('abc', 6)", 1).bytes);
  EXPECT_EQ("abc", bound.evaluate("LEFT('abc', 6)", 0).bytes);
  EXPECT_EQ("abc ", bound.evaluate("LEFT('abc', 6)", 1, 4).bytes);
  EXPECT_EQ("CA" + std::string(252, ' '), bound.evaluate("STATE + ''", 1).bytes);
  EXPECT_EQ("         7", bound.evaluate("NOTES", 1).bytes);
}

TEST(Expressions, texts_are_cut_to_the_limit_and_ended) {
  const struct {
    const char* text;
    std::uint32_t options;
    std::int32_t max;
    std::string bytes;  // as delivered
    char behind;        // the byte behind them; '~' is untouched
  } cases[] = {{"NAME", 0, 3, "Smi", '\0'},
               {"NAME", 0, 10, "Smith     ", '\0'},
               {"NAME", 0, 11, "Smith     ", '\0'},
               {"NAME", 1, 3, "Smi", '~'},  // a key has no room but its own
               {"NAME", 1, 10, "Smith     ", '~'},
               {"NAME", 1, 0, "Smith     ", '\0'},
               {"DUE", 0, 5, "01/02", '\0'},
               {"ACTIVE", 0, 1, "T", '\0'},
               {"ACTIVE", 1, 1, "T", '~'}};
  BoundTable bound;
  for (const auto& c : cases) {
    Program program(bound, c.text);
    EXPECT_EQ(c.bytes, program.run(bound.record.data(), c.options, c.max).bytes) << c.text << c.max;
    EXPECT_EQ(c.behind, program.buffer[c.bytes.size()]) << c.text << c.max;
    EXPECT_EQ('~', program.buffer[c.bytes.size() + 1]) << c.text << c.max;
  }
}

// No expression delivers more than 1000 bytes unless more are asked for, and none of unknown
// length more than 254.
TEST(Expressions, long_texts_are_cut) {
  BoundTable bound;
  std::string sum = "CITY";
  for (int i = 1; i < 47; ++i) sum += "+CITY";
  EXPECT_EQ(47 * 25, bound.evaluate(sum).parsed_length);
  EXPECT_EQ(1000u, bound.evaluate(sum).bytes.size());
  EXPECT_EQ(1000u, bound.evaluate(sum, 1).bytes.size());
  EXPECT_EQ(254u, bound.evaluate(sum + "+''").bytes.size());
}

TEST(Expressions, fields_are_read_as_they_are) {
  const struct {
    std::size_t offset;
    const char* bytes;
    const char* text;
    const char* expected;
  } cases[] = {{kAmount, "            ", "AMOUNT + 1", "N 1"},
               {kAmount, "************", "AMOUNT + 1", "N 1"},
               {kAmount, "  12abc34   ", "AMOUNT + 1", "N 13"},
               {kAmount, "-.5         ", "-AMOUNT", "N 0.5"},
               {kActive, "T", "ACTIVE", "L T"},
               {kActive, "t", "ACTIVE", "L T"},
               {kActive, "Y", "ACTIVE", "L T"},
               {kActive, "y", "ACTIVE", "L T"},
               {kActive, "F", "ACTIVE", "L F"},
               {kActive, "?", "ACTIVE", "L F"},
               {kActive, " ", "ACTIVE", "L F"},
               {kActive, "1", "ACTIVE", "L F"}};
  for (const auto& c : cases) {
    BoundTable bound;
    bound.record.replace(c.offset, std::strlen(c.bytes), c.bytes);
    EXPECT_EQ(c.expected, bound.describe(c.text)) << c.bytes;
  }
  BoundTable bound;
  for (const char* no_date : {"        ", "19950230", "1995    ", "xxxxxxxx", "00000000",
                              "00000101", "1995-1-1", "19951301"}) {
    bound.record.replace(kDue, 8, no_date);
    EXPECT_EQ("N 0", bound.describe("YEAR(DUE)")) << no_date;
    EXPECT_EQ("C8 [        ]", bound.describe("DTOS(DUE)")) << no_date;
    EXPECT_EQ("D   /  /  ", bound.describe("DUE + 30")) << no_date;
    EXPECT_EQ("L T", bound.describe("DUE = {}")) << no_date;
    // In every key form it is the blank date.
    for (const auto& [options, key] : {std::pair{0x01U, "7d000000c3000000"},
                                       {0x21U, "7d000000c3000000"},
                                       {0x101U, "8000000000000000"},
                                       {0x401U, "2020202020202020"}}) {
      EXPECT_EQ(key, bound.describe("DUE", options)) << no_date;
      EXPECT_EQ(key, bound.describe("DUE + 0", options)) << no_date;
    }
  }
}

TEST(Expressions, date_literals_follow_the_format_in_force) {
  BoundTable bound;
  Program program(bound, "{01/02/95} + 0");
  const struct {
    int format, century;
    const char* expected;
  } cases[] = {{0, 0, "01/02/95"},
               {2, 0, "01/02/95"},
               {2, 1, "01/02/1995"},
               {0, 1, "01/02/1995"},
               {1, 0, "  .  .  "}};
  for (const auto& c : cases) {
    lib.dUsetdate(&bound.block, c.format);
    lib.dUsetcent(&bound.block, c.century);
    EXPECT_EQ(c.expected, program.run(nullptr).bytes) << c.format;
  }
  lib.dUsetdate(&bound.block, 2);
  EXPECT_EQ(2449750.0, number_in(program.run(nullptr, 1).bytes));  // 1 February 1995
}

TEST(Expressions, constants_are_what_the_run_makes_of_them) {
  const struct {
    const char* text;
    double before;  // exact comparison, centuries and another date format are set
    double behind;
  } cases[] = {{"IIF('ab' = 'a', 1, 2) + 0", 1, 2},    {"IIF('a' < 'ab', 1, 2) + 0", 1, 1},
               {"LEN(DTOC({01/02/95})) + 0", 8, 10},   {"LEN(DMY({01/02/95})) + 0", 13, 16},
               {"MONTH(CTOD('01/02/95')) + 0", 1, 2},  {"DAY({01/02/95}) + 0", 2, 1},
               {"2 * (1 + LEN(TRIM('a '))) + 0", 4, 4}};
  for (const auto& c : cases) {
    BoundTable bound;
    Program program(bound, c.text);
    EXPECT_EQ(c.before, number_in(program.run(nullptr).bytes)) << c.text;
    bound.block.exact = 1;
    lib.dUsetcent(&bound.block, 1);
    lib.dUsetdate(&bound.block, 2);
    EXPECT_EQ(c.behind, number_in(program.run(nullptr).bytes)) << c.text;
    EXPECT_EQ(c.behind, number_in(program.run(nullptr).bytes)) << c.text;
  }
  BoundTable bound;
  EXPECT_EQ(bound.describe("1/0"), bound.describe("2 + 3 * (1/(2 - 2))"));
  EXPECT_EQ("C6 [AB]", bound.describe("TRIM(UPPER('ab    '))"));
}

}  // namespace
