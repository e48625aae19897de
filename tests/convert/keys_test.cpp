#include <cmath>
#include <limits>

#include "support/test.h"

namespace {

constexpr uint32_t kPacked = 0;
constexpr uint32_t kDouble = 2;
constexpr uint32_t kOrdered = 4;
constexpr uint32_t kText = 8;

using Packed = std::array<unsigned char, 12>;

Packed packed_of(double value) {
  Packed key;
  key.fill(0xEE);
  EXPECT_EQ(0, lib.dUdtonk(kPacked, value, key.data()));
  return key;
}

Packed packed_of(std::string_view field) {
  VqBlock block = {};
  Packed key;
  key.fill(0xEE);
  EXPECT_EQ(0, lib.dUnftonk(&block, kPacked, field.data(), static_cast<int32_t>(field.size()),
                            key.data()));
  return key;
}

double number_of(uint32_t kind, const void* key) {
  double value = -1;
  EXPECT_EQ(0, lib.dUnktod(kind, key, &value));
  return value;
}

// How index pages order packed keys: sign, zero, point, digits.
int compare(const Packed& a, const Packed& b) {
  const auto rank = [](const Packed& key) {
    if (key[0] == 0x34 && key[1] == 0x01) return 0;
    return (key[1] & 0x80) != 0 ? -1 : 1;
  };
  if (rank(a) != rank(b)) return rank(a) < rank(b) ? -1 : 1;
  const int sign = rank(a);
  if (a[0] != b[0]) return a[0] < b[0] ? -sign : sign;
  const int digits = std::memcmp(a.data() + 2, b.data() + 2, 10);
  return digits == 0 ? 0 : digits < 0 ? -sign : sign;
}

struct PackedCase {
  double value;
  std::string_view field;
  Packed of_double;
  unsigned char count;  // byte 1 of the key that is made from the field
};

TEST(Keys, packed_decimals_have_these_bytes) {
  const PackedCase cases[] = {
      {0.5, "0.5", {0x34, 0x29, 0x50}, 0x05},
      {-12.5, "    -12.5", {0x36, 0xA9, 0x12, 0x50}, 0x8D},
      {0, "   ", {0x34, 0x01}, 0x01},
      {-0.0, "-0.00", {0x34, 0x01}, 0x01},
      {8, " 8 ", {0x35, 0x29, 0x80}, 0x29},
      {-1200, "-1200.00", {0x38, 0xA9, 0x12}, 0xA9},  // no fraction: the count is always 10
      {0.0078125, ".0078125", {0x32, 0x29, 0x78, 0x12, 0x50}, 0x15},
      {1e20, "1E20", {0x49, 0x29, 0x10}, 0x29},
      // The digits of a double are those it has, cut behind the 16th.
      {0.29,
       "0.2899999999999999",
       {0x34, 0x29, 0x28, 0x99, 0x99, 0x99, 0x99, 0x99, 0x99, 0x99},
       0x41},
      {123456789.125, "+123456789.125", {0x3D, 0x29, 0x12, 0x34, 0x56, 0x78, 0x91, 0x25}, 0x31}};
  for (const PackedCase& c : cases) {
    EXPECT_EQ(c.of_double, packed_of(c.value)) << c.field;
    Packed of_field = c.of_double;
    of_field[1] = c.count;
    EXPECT_EQ(of_field, packed_of(c.field)) << c.field;
  }
}

// Negative, 0 or positive, as the bytes of two ordered doubles compare; both read back.
int compare_ordered(double a, double b) {
  unsigned char keys[2][8];
  EXPECT_EQ(0, lib.dUdtonk(kOrdered, a, keys[0]));
  EXPECT_EQ(0, lib.dUdtonk(kOrdered, b, keys[1]));
  EXPECT_EQ(a, number_of(kOrdered, keys[0]));
  EXPECT_EQ(b, number_of(kOrdered, keys[1]));
  return std::memcmp(keys[0], keys[1], 8);
}

TEST(Keys, of_both_kinds_sort_as_their_numbers) {
  std::mt19937_64 random(30);
  const auto draw = [&] {
    const auto small = static_cast<int64_t>(random()) >> (random() % 63);
    switch (random() % 4) {
      case 0:
        return static_cast<double>(small) / 64;
      case 1:
        return static_cast<double>(small % 100);
      case 2:
        return std::ldexp(static_cast<double>(small), -static_cast<int>(random() % 200));
      default:
        return std::ldexp(static_cast<double>(small), static_cast<int>(random() % 1000));
    }
  };
  for (int i = 0; i < 60000; ++i) {
    double low = draw();
    double high = i % 4 == 0 ? std::nextafter(low, 1e308) : draw();
    if (high < low) std::swap(low, high);
    ASSERT_EQ(low < high, compare_ordered(low, high) < 0) << low << " " << high;
    const int order = compare(packed_of(low), packed_of(high));
    // What differs behind the 16th digit only, or beyond the point's range, may be equal.
    ASSERT_LE(order, 0) << low << " " << high;
    if (high - low > 1e-14 * std::fabs(high) && high - low > 1e-50 && std::fabs(high) < 1e200 &&
        std::fabs(low) < 1e200) {
      ASSERT_LT(order, 0) << low << " " << high;
    }
  }
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(1, compare(packed_of(infinity), packed_of(1e202)));
  EXPECT_EQ(-1, compare(packed_of(-infinity), packed_of(-1e202)));
  EXPECT_GT(0, compare_ordered(-infinity, -1e308));
  EXPECT_EQ(0, compare_ordered(0.0, -0.0));
}

TEST(Keys, packed_fields_keep_all_their_digits) {
  std::mt19937_64 random(31);
  for (int i = 0; i < 30000; ++i) {
    const auto decimals = static_cast<int32_t>(random() % 18);
    std::string field = std::to_string(random() % 9000000000 + 1000000000) +
                        std::to_string(random() % 9000000000 + 1000000000);
    field.resize(
        static_cast<size_t>(std::max(decimals + 1, static_cast<int32_t>(1 + random() % 18))));
    if (decimals > 0) field.insert(field.size() - static_cast<size_t>(decimals), ".");
    if (i % 3 == 0) field.insert(0, "-");
    field.insert(0, 20 - field.size(), ' ');
    const Packed key = packed_of(field);
    char text[21];
    ASSERT_EQ(0, lib.dUnktoa(kPacked, key.data(), 20, decimals, text)) << field;
    ASSERT_EQ(field, text);
    double value = 0;
    lib.dUnftod(field.data(), 20, &value);
    ASSERT_EQ(value, number_of(kPacked, key.data())) << field;
  }
}

TEST(Keys, packed_texts_round_their_digits) {
  const struct {
    const char* field;
    int32_t width, decimals;
    const char* text;
  } cases[] = {{"2.675", 6, 2, "  2.68"}, {"-9.996", 6, 2, "-10.00"},  {"9.5", 2, 0, "10"},
               {"0.004", 5, 2, " 0.00"},  {"-0.004", 5, 2, " 0.00"},   {"0.005", 5, 2, " 0.01"},
               {"0.0005", 5, 2, " 0.00"}, {"0.5", 1, 0, "1"},          {"12000", 5, 0, "12000"},
               {"-0.5", 4, 2, "-.50"},    {"1234567", 6, 0, " .1E+7"}, {"1E200", 9, 1, " .10E+201"},
               {"", 3, 0, "  0"}};
  for (const auto& c : cases) {
    const Packed key = packed_of(std::string_view(c.field));
    char text[12];
    ASSERT_EQ(0, lib.dUnktoa(kPacked, key.data(), c.width, c.decimals, text));
    EXPECT_STREQ(c.text, text) << c.field;
  }
}

TEST(Keys, damaged_packed_keys_read_as_some_number) {
  std::mt19937_64 random(32);
  for (int i = 0; i < 20000; ++i) {
    Packed key;
    for (auto& byte : key) byte = static_cast<unsigned char>(random());
    EXPECT_TRUE(std::isfinite(number_of(kPacked, key.data())));
    char text[256];
    const auto width = static_cast<int32_t>(1 + random() % 254);
    ASSERT_EQ(0, lib.dUnktoa(kPacked, key.data(), width, width / 3, text));
    ASSERT_EQ(static_cast<size_t>(width), std::strlen(text));
  }
}

TEST(Keys, other_kinds_come_from_fields) {
  VqBlock block = {};
  for (const uint32_t kind : {1u, kDouble}) {
    double key = 0;
    EXPECT_EQ(0, lib.dUnftonk(&block, kind, "  -1.25", 7, &key));
    EXPECT_EQ(-1.25, key);
    EXPECT_EQ(-1.25, number_of(kind, &key));
  }
  char text[12] = "-----------";
  EXPECT_EQ(0, lib.dUnftonk(&block, kText, "  1.5", 5, text));
  EXPECT_STREQ("  1.5------", text);
  EXPECT_EQ(0, lib.dUdtonk(kText, 7, text));
  EXPECT_STREQ("  1.5------", text);
  EXPECT_EQ(0, lib.dUnktoa(kText, "  2.5", 5, 1, text));
  EXPECT_STREQ("  2.5", text);
  double value = 0;
  EXPECT_EQ(-4, lib.dUnktod(kText, "  2.5", &value));
  Packed key;
  EXPECT_EQ("-4/4081",
            codes(lib.dUnftonk(&block, kPacked, "000000000000000000001", 21, key.data()), block));
}

}  // namespace
