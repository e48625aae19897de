#include <chrono>
#include <tuple>

#include "support/test.h"

namespace {

using Date = std::tuple<int32_t, int32_t, int32_t>;  // month, day, year

constexpr Date kBlank{9999, 9999, 9999};
constexpr uint32_t kDouble = 2;
constexpr uint32_t kOrdered = 4;
constexpr uint32_t kText = 8;

// What a call gives that tells month, day and year.
template <typename Call, typename... From>
Date date_by(Call call, From... from) {
  Date date;
  EXPECT_EQ(0, call(from..., &std::get<0>(date), &std::get<1>(date), &std::get<2>(date)));
  return date;
}
Date date_of_day(int32_t day_number) { return date_by(lib.dUJto3i, day_number); }
Date date_of_key(uint32_t kind, const void* key) { return date_by(lib.dUdkto3i, kind, key); }
Date date_of_field(const char* field) { return date_by(lib.dUdfto3i, field); }

TEST(Dates, every_date_of_years_1_to_9999_round_trips) {
  using namespace std::chrono;
  VqBlock block = {};
  unsigned char previous[8] = {};
  int32_t number = 0;
  const sys_days last = year{9999} / 12 / 31;
  for (sys_days day = year{1} / 1 / 1; day <= last; day += days{1}) {
    const year_month_day parts = day;
    const auto [m, d, y] = Date{static_cast<unsigned>(parts.month()),
                                static_cast<unsigned>(parts.day()), int{parts.year()}};
    ++number;
    ASSERT_EQ(number, lib.dU3itoJ(&block, m, d, y));
    ASSERT_EQ(Date(m, d, y), date_of_day(number));
    // The ends of months and of years, and some days between.
    if (d > 2 && d < 28 && number % 7 != 0) continue;
    double key = 0;
    ASSERT_EQ(0, lib.dU3itodk(&block, kDouble, m, d, y, &key));
    ASSERT_EQ(number + 1721425.0, key);
    ASSERT_EQ(Date(m, d, y), date_of_key(kDouble, &key));
    unsigned char ordered[8];
    ASSERT_EQ(0, lib.dU3itodk(nullptr, kOrdered, m, d, y, ordered));
    ASSERT_LT(std::memcmp(previous, ordered, 8), 0);
    std::memcpy(previous, ordered, 8);
    ASSERT_EQ(Date(m, d, y), date_of_key(kOrdered, ordered));
    char field[8];
    ASSERT_EQ(0, lib.dU3itodf(&block, m, d, y, field));
    ASSERT_EQ(y * 10000 + m * 100 + d, std::stoi(std::string(field, 8)));
    ASSERT_EQ(Date(m, d, y), date_of_field(field));
  }
  EXPECT_EQ(3652059, number);
}

TEST(Dates, day_numbers_outside_the_calendar_of_fields_stay_inverse) {
  VqBlock block = {};
  EXPECT_EQ(Date(12, 31, 0), date_of_day(0));
  EXPECT_EQ(584389, lib.dU3itoJ(&block, 1, 1, 1601));
  for (const int32_t number : {3652060, 400 * 365 * 1000, 2147483000}) {
    const auto [m, d, y] = date_of_day(number);
    EXPECT_EQ(number, lib.dU3itoJ(&block, m, d, y));
  }
  EXPECT_EQ(-4, lib.dU3itoJ(&block, 1, 1, 2147483647));
}

TEST(Dates, dates_that_do_not_exist_are_refused_with_the_detail_of_each_call) {
  const Date wrong[] = {{2, 29, 1900}, {2, 30, 2000}, {4, 31, 1995}, {0, 1, 1995},
                        {13, 1, 1995}, {1, 0, 1995},  {1, -1, 1995}, {1, 32, 1995},
                        {1, 1, 0},     {1, 1, -5},    {9999, 1, 1},  {-2147483647 - 1, 1, 1}};
  for (const auto& [m, d, y] : wrong) {
    SCOPED_TRACE(std::to_string(m) + "/" + std::to_string(d) + "/" + std::to_string(y));
    VqBlock block = {};
    char untouched[] = "untouched";
    EXPECT_EQ("-4/4001", codes(lib.dU3itodf(&block, m, d, y, untouched), block));
    EXPECT_EQ("-4/4021", codes(lib.dU3itodk(&block, kDouble, m, d, y, untouched), block));
    EXPECT_EQ("-4/4071", codes(lib.dU3itoJ(&block, m, d, y), block));
    EXPECT_STREQ("untouched", untouched);
  }
  VqBlock block = {};
  char field[8];
  EXPECT_EQ(-4, lib.dU3itodf(&block, 1, 1, 10000, field));
  EXPECT_EQ("-4/4021", codes(lib.dUdftodk(&block, kDouble, "19950230", field), block));
  EXPECT_EQ(0, lib.dU3itodf(&block, 2, 29, 2000, field));
}

TEST(Dates, blank_dates_have_a_form_of_their_own) {
  VqBlock block = {};
  char field[9] = "........";
  EXPECT_EQ(0, lib.dU3itodf(&block, 9999, 9999, 9999, field));
  EXPECT_STREQ("        ", field);
  EXPECT_EQ(kBlank, date_of_field(field));
  const std::pair<uint32_t, std::string_view> keys[] = {
      {1, {"\x7D\0\0\0\xC3\0\0\0", 8}},
      {kDouble, {"\x7D\0\0\0\xC3\0\0\0", 8}},
      {kOrdered, {"\x80\0\0\0\0\0\0\0", 8}},
      {kText, "        "},
      {0, "--------"},  // dates have no packed form
  };
  for (const auto& [kind, bytes] : keys) {
    SCOPED_TRACE(kind);
    char key[9] = "--------";
    EXPECT_EQ(0, lib.dUdftodk(&block, kind, field, key));
    EXPECT_EQ(bytes, std::string_view(key, 8));
    EXPECT_EQ(kBlank, date_of_key(kind, key));
  }
  const double far = 1e100;
  EXPECT_EQ(kBlank, date_of_key(kDouble, &far));
}

struct FormatCase {
  int32_t format;
  const char* with_century;
  const char* without;
};

TEST(Dates, texts_read_in_every_format) {
  const FormatCase cases[] = {{0, "03/07/1995", "3/07/95"}, {1, "1995.03.07", "95.3.7"},
                              {2, "07/03/1995", "7/3/95"},  {3, "07-03-1995", "07-03-95"},
                              {4, "07.03.1995", "7.3.95"},  {5, "03-07-1995", "03-07-95"},
                              {6, "1995/03/07", "95/03/07"}};
  VqBlock block = {};
  const int32_t day = lib.dU3itoJ(&block, 3, 7, 1995);
  for (const FormatCase& c : cases) {
    SCOPED_TRACE(c.format);
    ASSERT_EQ(&block, lib.dUsetdate(&block, c.format));
    EXPECT_EQ(day, lib.dUatoJ(&block, c.with_century));
    EXPECT_EQ(day, lib.dUatoJ(&block, c.without));
  }
}

TEST(Dates, texts_that_are_no_date_are_refused) {
  VqBlock block = {};
  for (const char* text : {"", "  /  /  ", "03/07", "03/07/", "03/07/95x", "3 7 95", "13/01/95",
                           "02/29/1900", "a/b/c", "03/07/99999999999", "-3/07/95", "1/1/10000"}) {
    block.detail = 0;
    EXPECT_EQ("-4/4071", codes(lib.dUatoJ(&block, text), block)) << text;
  }
  EXPECT_EQ(lib.dU3itoJ(&block, 3, 7, 1905), lib.dUatoJ(&block, " 3 - 7 . 5 "));
  EXPECT_EQ(lib.dU3itoJ(&block, 3, 7, 95), lib.dUatoJ(&block, "03/07/0095"));
}

TEST(Dates, leap_years_and_today) {
  for (const int32_t year : {1996, 2000, 0, -4, 400}) EXPECT_EQ(1, lib.dUleap(year)) << year;
  for (const int32_t year : {1900, 1995, 2100, -100, 1}) EXPECT_EQ(0, lib.dUleap(year)) << year;
  VqBlock block = {};
  int32_t m = 0, d = 0, y = 0;
  EXPECT_EQ(0, lib.dUtoday(&m, &d, &y));
  EXPECT_GT(lib.dU3itoJ(&block, m, d, y), 738000);
}

}  // namespace
