#include <charconv>
#include <chrono>

#include "support/bound_table.h"

namespace {

std::string digits(int value, std::size_t width, char fill = '0') {
  std::string text = std::to_string(value);
  return std::string(width > text.size() ? width - text.size() : 0, fill) + text;
}

// ---- Dates, against the calendar of the standard library

constexpr const char* kMonths[] = {"January",   "February", "March",    "April",
                                   "May",       "June",     "July",     "August",
                                   "September", "October",  "November", "December"};
constexpr const char* kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                 "Thursday", "Friday", "Saturday"};

TEST(DateFunctions, agree_with_the_calendar_from_year_1_to_9999) {
  using namespace std::chrono;
  BoundTable bound;
  lib.dUsetcent(&bound.block, 1);
  Program dow(bound, "DOW(DUE)");
  Program cdow(bound, "CDOW(DUE)");
  Program cmonth(bound, "CMONTH(DUE)");
  Program dmy(bound, "DMY(DUE)");
  Program mdy(bound, "MDY(DUE)");
  Program parts(bound, "(YEAR(DUE) * 10000) + (MONTH(DUE) * 100) + DAY(DUE)");
  Program dtos(bound, "DTOS(CTOD(DTOC(DUE + 1)) - 1)");
  Program span(bound, "DUE - {01/01/1900}");
  const sys_days first_1900 = year{1900} / 1 / 1;
  std::string record = bound.record;
  for (sys_days date = year{1} / 1 / 1; date < sys_days{year{9999} / 12 / 31}; date += days{37}) {
    const year_month_day ymd = date;
    const int y = int{ymd.year()};
    const auto m = static_cast<unsigned>(ymd.month());
    const auto d = static_cast<int>(static_cast<unsigned>(ymd.day()));
    const unsigned day_of_week = weekday{date}.c_encoding();
    const std::string field = digits(y, 4) + digits(static_cast<int>(m), 2) + digits(d, 2);
    record.replace(kDue, 8, field);
    ASSERT_EQ(day_of_week + 1.0, number_in(dow.value(record))) << field;
    ASSERT_EQ(kDays[day_of_week], cdow.value(record)) << field;
    ASSERT_EQ(kMonths[m - 1], cmonth.value(record)) << field;
    const std::string month = kMonths[m - 1];
    ASSERT_EQ(digits(d, 2, ' ') + " " + month + " " + digits(y, 4), dmy.value(record));
    ASSERT_EQ(month + " " + digits(d, 2, ' ') + ", " + digits(y, 4), mdy.value(record));
    ASSERT_EQ(std::stoi(field), number_in(parts.value(record)));
    ASSERT_EQ(field, dtos.value(record));
    ASSERT_EQ((date - first_1900).count(), number_in(span.value(record)));
  }
}

TEST(DateFunctions, texts_follow_the_format_and_the_century) {
  const struct {
    std::int32_t format;
    const char* with_century;
    const char* without;
    const char* empty;
  } cases[] = {{0, "03/07/1995", "03/07/95", "  /  /  "}, {1, "1995.03.07", "95.03.07", "  .  .  "},
               {2, "07/03/1995", "07/03/95", "  /  /  "}, {3, "07-03-1995", "07-03-95", "  -  -  "},
               {4, "07.03.1995", "07.03.95", "  .  .  "}, {5, "03-07-1995", "03-07-95", "  -  -  "},
               {6, "1995/03/07", "95/03/07", "  /  /  "}};
  BoundTable bound;
  bound.record.replace(kDue, 8, "19950307");
  for (const auto& c : cases) {
    lib.dUsetdate(&bound.block, c.format);
    lib.dUsetcent(&bound.block, 1);
    const std::string with = c.with_century;
    EXPECT_EQ("C10 [" + with + "]", bound.describe("DTOC(DUE)"));
    EXPECT_EQ("D " + with, bound.describe("CTOD('" + with + "')"));
    EXPECT_EQ("L T", bound.describe("DUE = {" + with + "}"));
    EXPECT_EQ("C18 [ 7 March 1995]", bound.describe("DMY(DUE)"));
    EXPECT_EQ("C18 [ 0 Unknown 0000]", bound.describe("DMY(PAID)"));
    EXPECT_EQ("C18 [Unknown 00, 0000]", bound.describe("MDY(PAID)"));
    lib.dUsetcent(&bound.block, 0);
    const std::string without = c.without;
    EXPECT_EQ("C8 [" + without + "]", bound.describe("DTOC(DUE)"));
    EXPECT_EQ("D " + without, bound.describe("CTOD('" + without + "')"));
    EXPECT_EQ("L T", bound.describe("DUE = {" + with + "}"));
    EXPECT_EQ(std::string("C8 [") + c.empty + "]", bound.describe("DTOC(PAID)"));
  }
}

// ---- Numbers, against integers

struct Decimal {
  std::int64_t mantissa;
  int scale;
};

std::int64_t power_of_ten(int exponent) {
  std::int64_t power = 1;
  while (exponent-- > 0) power *= 10;
  return power;
}

std::string text_of(const Decimal& number) {
  const std::int64_t unit = power_of_ten(number.scale);
  const std::int64_t magnitude = std::abs(number.mantissa);
  std::string text = number.mantissa < 0 ? "-" : "";
  text += std::to_string(magnitude / unit);
  if (number.scale > 0) text += "." + std::to_string(unit + magnitude % unit).substr(1);
  return text;
}

double value_of(const Decimal& number) {
  const std::string text = text_of(number);
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// Halves away from zero.
Decimal rounded(const Decimal& number, int decimals) {
  if (number.scale <= decimals) return number;
  const std::int64_t unit = power_of_ten(number.scale - decimals);
  const std::int64_t magnitude = (std::abs(number.mantissa) + unit / 2) / unit;
  const Decimal result = {number.mantissa < 0 ? -magnitude : magnitude, std::max(decimals, 0)};
  return decimals < 0 ? Decimal{result.mantissa * power_of_ten(-decimals), 0} : result;
}

Decimal with_scale(const Decimal& number, int scale) {
  return {number.mantissa * power_of_ten(scale - number.scale), scale};
}

TEST(NumberFunctions, agree_with_decimal_arithmetic) {
  BoundTable bound;
  std::vector<std::unique_ptr<Program>> rounds;
  for (const char* decimals : {"-2", "-1", "0", "1", "2", "3", "4"}) {
    rounds.push_back(
        std::make_unique<Program>(bound, std::string("ROUND(VAL(CITY),") + decimals + ")"));
  }
  Program str(bound, "STR(VAL(CITY),24,2)");
  Program whole(bound, "INT(VAL(CITY))");
  Program value(bound, "VAL(CITY)");
  Program mod(bound, "MOD(VAL(CITY),VAL(SUBSTR(CITY,16)))");
  std::mt19937_64 random(40);
  std::string record = bound.record;
  for (int i = 0; i < 60000; ++i) {
    const int scale = static_cast<int>(random() % 7);
    Decimal number = {static_cast<std::int64_t>(random() >> 1) %
                          power_of_ten(1 + static_cast<int>(random() % 12)),
                      scale};
    if (i % 2 == 0) number.mantissa = -number.mantissa;
    Decimal divisor = {1 + static_cast<std::int64_t>(random() % 9999),
                       static_cast<int>(random() % 4)};
    if (i % 3 == 0) divisor.mantissa = -divisor.mantissa;
    std::string city = text_of(number);
    city.resize(15, ' ');
    city += text_of(divisor);
    city.resize(kCityWidth, ' ');
    record.replace(kCity, kCityWidth, city);

    ASSERT_EQ(value_of(number), number_in(value.value(record))) << city;
    const int decimals = static_cast<int>(random() % 7) - 2;
    ASSERT_EQ(value_of(rounded(number, decimals)),
              number_in(rounds[static_cast<std::size_t>(decimals + 2)]->value(record)))
        << city << decimals;
    const Decimal cents = with_scale(rounded(number, 2), 2);
    std::string expected = text_of(cents);
    expected.insert(0, 24 - expected.size(), ' ');
    ASSERT_EQ(expected, str.value(record));
    ASSERT_EQ(static_cast<double>(number.mantissa / power_of_ten(scale)),
              number_in(whole.value(record)));
    const int common = std::max(scale, divisor.scale);
    const std::int64_t b = with_scale(divisor, common).mantissa;
    std::int64_t rest = with_scale(number, common).mantissa % b;
    if (rest != 0 && (rest < 0) != (b < 0)) rest += b;
    ASSERT_EQ(value_of({rest, common}), number_in(mod.value(record))) << city;
  }
}

TEST(NumberFunctions, random_numbers_repeat_for_a_seed) {
  const auto draw = [](BoundTable& bound, const std::string& first) {
    std::vector<std::string> drawn = {bound.describe(first)};
    for (int i = 0; i < 20; ++i) drawn.push_back(bound.describe("RAND()"));
    return drawn;
  };
  BoundTable one;
  BoundTable two;
  const auto from_default = draw(one, "RAND()");
  EXPECT_EQ(from_default, draw(two, "RAND()"));
  EXPECT_EQ(from_default, draw(one, "RAND(100001)"));
  const auto from_seven = draw(one, "RAND(7)");
  EXPECT_NE(from_default, from_seven);
  EXPECT_EQ(from_seven, draw(two, "RAND(7)"));
  Program next(one, "RAND()");
  double sum = 0;
  for (int i = 0; i < 10000; ++i) {
    const double number = number_in(next.value(one.record));
    ASSERT_GE(number, 0);
    ASSERT_LT(number, 1);
    sum += number;
  }
  EXPECT_NEAR(5000, sum, 150);
}

// ---- Texts

TEST(TextFunctions, make_no_more_than_254_characters_up) {
  BoundTable bound(8);
  EXPECT_EQ(254u, bound.evaluate("REPLICATE(CITY,20)").bytes.size());
  EXPECT_EQ(std::string(244, ' ') + "Smith     ", bound.evaluate("PADL(NAME,AMOUNT)").bytes);
  EXPECT_EQ(std::string(1, '\0'), bound.evaluate("CHR(0)").bytes);
}

TEST(TextFunctions, soundex_hears_every_letter) {
  BoundTable bound;
  const std::string digits = "01230120022455012623010202";  // of A to Z
  for (std::size_t i = 0; i < digits.size(); ++i) {
    const std::string letter(1, static_cast<char>('A' + i));
    const std::string lower(1, static_cast<char>('a' + i));
    const std::string code = digits[i] == '0' ? "000" : digits.substr(i, 1) + "00";
    EXPECT_EQ("C4 [A" + code + "]", bound.describe("SOUNDEX('A" + letter + "')"));
    EXPECT_EQ("C4 [" + letter + code + "]", bound.describe("SOUNDEX('" + lower + lower + "')"));
  }
}

TEST(TextFunctions, exported_ones_trim_and_pad) {
  char out[64];
  EXPECT_EQ(out, lib.fLTRIM(" \t\r\nAB ", out));
  EXPECT_STREQ("AB ", out);
  EXPECT_EQ(out, lib.fRTRIM(" AB \v\f", out));
  EXPECT_STREQ(" AB", out);
  EXPECT_EQ(out, lib.fALLTRIM("  AB CD", out));
  EXPECT_STREQ("AB", out);
  EXPECT_EQ(out, lib.fLTRIM("   ", out));
  EXPECT_STREQ("", out);
  char own[] = "  own";
  EXPECT_STREQ("own", lib.fLTRIM(own, own));
  const struct {
    decltype(lib.fPADL) pad;
    const char* text;
    std::int32_t width;
    const char* fill;
    const char* padded;
  } cases[] = {{lib.fPADL, "abc", 8, "*", "*****abc"},  {lib.fPADR, "abc", 8, "AB", "abcABAAB"},
               {lib.fPADC, "abc", 8, "*", "**abc***"},  {lib.fPADC, "x", 10, "AB", "ABAAxABAAB"},
               {lib.fPADL, "abc", 2, "*", "ab"},        {lib.fPADR, "abc", 3, "*", "abc"},
               {lib.fPADL, "abc", 5, nullptr, "  abc"}, {lib.fPADL, "abc", 5, "", "  abc"},
               {lib.fPADL, "abc", -1, "*", ""},         {lib.fPADC, "", 3, "xyz", "xxy"}};
  for (const auto& c : cases) {
    EXPECT_EQ(static_cast<std::int32_t>(std::string(c.text).size()),
              c.pad(c.text, c.width, c.fill, out));
    EXPECT_STREQ(c.padded, out);
  }
}

// ---- Records

TEST(RecordFunctions, see_the_bound_table_and_the_record) {
  BoundTable bound;
  const std::string record = bound.record;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(0, lib.dDapprec(bound.table, record.data()));
  std::string read(record.size(), ' ');
  ASSERT_EQ(0, lib.dDdelrec(bound.table, 3));
  ASSERT_EQ(0, lib.dDgetrec(bound.table, 2, read.data()));
  EXPECT_EQ("N 2", bound.describe("RECNO()"));
  EXPECT_EQ("N 3", bound.describe("RECCOUNT()"));
  EXPECT_EQ("N " + std::to_string(record.size()), bound.describe("RECSIZE()"));
  EXPECT_EQ("L F", bound.describe("DELETED()"));
  ASSERT_EQ(0, lib.dDgetrec(bound.table, 3, bound.record.data()));
  EXPECT_EQ("N 3", bound.describe("RECNO()"));
  EXPECT_EQ("L T", bound.describe("DELETED()"));
  EXPECT_EQ("C10 [BLOB]", bound.describe("FIELD(11)"));
  EXPECT_EQ("C10 []", bound.describe("FIELD(0)"));
  const std::string name = bound.folder.file("BOUND.DBF");
  EXPECT_EQ("L T", bound.describe("FILE(' " + name + " ')"));
  EXPECT_EQ("L F", bound.describe("FILE('" + name + "X')"));
  EXPECT_EQ("L F", bound.describe("FILE('')"));
}

}  // namespace
