#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

#include "support/test.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string field_of(double value, int32_t width, int32_t decimals, uint32_t kind = 1) {
  VqBlock block = {};
  block.kind = kind;
  std::string field(static_cast<size_t>(width) + 1, '#');
  EXPECT_EQ(0, lib.dUdtonf(&block, value, width, decimals, field.data()));
  EXPECT_EQ('#', field.back());
  field.pop_back();
  return field;
}

double number_of(std::string_view text) {
  double value = -1;
  EXPECT_EQ(0, lib.dUnftod(text.data(), static_cast<int32_t>(text.size()), &value)) << text;
  return value;
}

TEST(Numbers, fields_hold_fixed_point_else_exponent_form_else_stars) {
  const struct {
    double value;
    int32_t width, decimals;
    const char* field;
  } cases[] = {{1234.5, 10, 2, "   1234.50"},
               {-0.001, 8, 2, "    0.00"},  // nothing has no sign
               {0.125, 6, 2, "  0.12"},     // halves that are exact go to the even digit
               {0.375, 6, 2, "  0.38"},
               {2.675, 6, 2, "  2.67"},  // below the half as a double
               {-12.5, 6, 2, "-12.50"},
               {1e22, 24, 0, " 10000000000000000000000"},
               {-0.5, 3, 1, "-.5"},  // the 0 before the point gives way first
               {123456, 5, 0, "*****"},
               {123456, 6, 0, "123456"},
               {1234567, 6, 0, " .1E+7"},
               {-1234567, 7, 0, "-.12E+7"},
               {9.99999e9, 8, 0, " .10E+11"},  // the exponent grows by rounding
               {1e300, 9, 2, " .10E+301"},
               {9.999e-99, 8, 6, "0.000000"},
               {kInfinity, 4, 0, "****"},
               {-kInfinity, 10, 2, "**********"},
               {std::nan(""), 10, 2, "**********"}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.field, field_of(c.value, c.width, c.decimals)) << c.value;
  }
  EXPECT_EQ("0000012.50", field_of(12.5, 10, 2, 16));
  EXPECT_EQ("-000012.50", field_of(-12.5, 10, 2, 16));
}

// Fields of usual width and form have a reader of their own.
TEST(Numbers, usual_fields_read_as_they_do_behind_other_white_space) {
  std::mt19937 random(1);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  const auto any_of = [&](std::string_view set) { return set[below(set.size())]; };
  std::size_t numbers = 0;
  for (int i = 0; i < 200000; ++i) {
    std::string text(8 + below(9), ' ');
    const std::size_t blanks = below(2) * below(text.size());
    std::generate(text.begin() + static_cast<std::ptrdiff_t>(blanks), text.end(),
                  [&] { return any_of("0123456789"); });
    if (below(3) == 0) text[blanks] = '-';
    if (below(3) != 0) text[blanks + below(text.size() - blanks)] = '.';
    for (std::size_t odd = below(6); odd >= 3; --odd) {
      text[below(text.size())] = any_of({" +-.e\t\0/:\x80\xB5\xFF", 12});
    }
    const double read = number_of(text);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(number_of("\t                " + text)),
              std::bit_cast<std::uint64_t>(read))
        << text;
    numbers += read != 0 ? 1 : 0;
  }
  EXPECT_LT(100000u, numbers);
}

TEST(Numbers, shapes_that_no_field_has_are_refused) {
  struct Shape {
    int32_t width, decimals;
  };
  for (const auto [width, decimals] :
       {Shape{0, 0}, {-1, 0}, {255, 0}, {10, -1}, {3, 2}, {10, 9}, {2, 1}, {10, 2147483647}}) {
    VqBlock block = {};
    char field[300] = "untouched";
    EXPECT_EQ("-4/4061", codes(lib.dUdtonf(&block, 1, width, decimals, field), block));
    EXPECT_EQ("-4/4041", codes(lib.dUatonf(&block, "1", width, decimals, field), block));
    EXPECT_STREQ("untouched", field);
  }
  VqBlock block = {};
  char field[10];
  EXPECT_EQ(0, lib.dUatonf(&block, " -1.5x", 9, 3, field));
  EXPECT_EQ("   -1.500", std::string_view(field, 9));
}

// m / 1024 is exact both as a double and as a decimal, so integers tell the right text.
TEST(Numbers, rounding_agrees_with_integer_arithmetic) {
  std::mt19937_64 random(20);
  for (int i = 0; i < 60000; ++i) {
    const auto m = static_cast<int64_t>(random() >> (14 + random() % 40)) >> 14;
    const auto decimals = static_cast<int32_t>(random() % 6);
    int64_t scale = 1;
    for (int32_t d = 0; d < decimals; ++d) scale *= 10;
    int64_t units = m / 1024 * scale + m % 1024 * scale / 1024;
    const int64_t rest = m % 1024 * scale % 1024;
    if (rest > 512 || (rest == 512 && units % 2 != 0)) ++units;
    std::string expected = std::to_string(units / scale);
    if (decimals > 0) expected += "." + std::to_string(scale + units % scale).substr(1);
    if (i % 2 == 0 && units > 0) expected = "-" + expected;
    expected.insert(0, 20 - expected.size(), ' ');
    const double value = static_cast<double>(m) / 1024;
    ASSERT_EQ(expected, field_of(i % 2 == 0 ? -value : value, 20, decimals)) << m;
  }
}

TEST(Numbers, texts_read_as_far_as_they_are_numbers) {
  for (const char* none : {"", "    ", ".", "-", "- 5", "--5", ".e5", "0x10", "inf", "nan", "***",
                           "0e999", "1e-999", "0.0001e-99999999999"}) {
    EXPECT_EQ(0, number_of(none)) << none;
  }
  const std::pair<std::string_view, double> numbers[] = {{"     1234.56", 1234.56},
                                                         {"\t\n -.5", -0.5},
                                                         {"5.", 5},
                                                         {"+7", 7},
                                                         {"1 2", 1},
                                                         {"12-3", 12},
                                                         {"1.2.3", 1.2},
                                                         {{"1\0002", 3}, 1},
                                                         {"1e3", 1000},
                                                         {" .12E+3", 120},
                                                         {"-1E-2", -0.01},
                                                         {"1e", 1},
                                                         {"1e+", 1},
                                                         {"1e+x", 1},
                                                         {"1e999", kInfinity}};
  // A half between two doubles goes to the even one.
  const std::pair<std::string_view, double> long_ones[] = {
      {"-1e99999999999999999999", -kInfinity},
      {"9007199254740993", 9007199254740992},
      {"9007199254740993.0000000001", 9007199254740994},
      {"00000000000000000000000000000000000012", 12},
      {"99999999999999999999999999999999999999", 1e38},
      {"0.0000000000000000000000000000000001234", 1.234e-34}};
  for (const auto& [text, value] : numbers) EXPECT_EQ(value, number_of(text)) << text;
  for (const auto& [text, value] : long_ones) EXPECT_EQ(value, number_of(text)) << text;
  double value = 0;
  EXPECT_EQ(-4, lib.dUnftod("1", 40, &value));
  EXPECT_EQ(-4, lib.dUnftod("1", -1, &value));
  EXPECT_EQ(0, lib.dUnftod("1", 0, &value));
}

TEST(Numbers, every_double_reads_back_from_its_digits) {
  std::mt19937_64 random(21);
  for (int i = 0; i < 60000; ++i) {
    const uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (!std::isfinite(value)) continue;
    if (i % 2 == 0) value = static_cast<double>(static_cast<int64_t>(bits) >> 16) / 100;
    char text[40];
    const auto end = std::to_chars(text, text + 39, value).ptr;
    ASSERT_EQ(value, number_of({text, static_cast<size_t>(end - text)}));
  }
}

TEST(Numbers, memo_fields_hold_a_block_number_or_nothing) {
  const std::pair<const char*, int32_t> cases[] = {
      {"        12", 1},  {"0000000012", 1},  {"   0000012", 1},  {"1234567890", 1},
      {"          ", 0},  {"         0", 0},  {" 000000000", 0},  {"0000000000", -1},
      {"12        ", -1}, {"       1 2", -1}, {"       -12", -1}, {"      0 12", -1},
      {"        1x", -1}, {"x         ", -1}};
  for (const auto& [field, answer] : cases) EXPECT_EQ(answer, lib.dUcheck_mfld(field)) << field;
  char field[11] = "..........";
  EXPECT_EQ(0, lib.dUinitmf(field));
  EXPECT_STREQ("          ", field);
}

TEST(Numbers, texts_are_cut_and_filled_to_the_field) {
  char text[7] = "------";
  EXPECT_EQ(-4, lib.dUatocf("AB", -1, text));
  EXPECT_EQ(0, lib.dUatocf("AB", 4, text));
  EXPECT_STREQ("AB  --", text);
  EXPECT_EQ(0, lib.dUatocf("ABCDEF", 3, text));
  EXPECT_STREQ("ABC --", text);
  char copy[7] = "------";
  EXPECT_EQ(0, lib.dUfldtoa(text, 4, copy));
  EXPECT_STREQ("ABC ", copy);
}

}  // namespace
