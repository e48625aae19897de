// The orders of keys, in open indexes and in the streams that indexes are built from.
#include <random>

#include "convert/keys.h"
#include "index/keys/key_order.h"
#include "index/keys/stream_order.h"
#include "support/test.h"

namespace vqdb::index {
namespace {

int sign(int value) { return (value > 0) - (value < 0); }

const Byte* bytes(const std::string& text) { return reinterpret_cast<const Byte*>(text.data()); }

std::string packed(double value) {
  std::string key(convert::kPackedKeyBytes, '\0');
  convert::encode_number(convert::key_kind::kPacked, value, reinterpret_cast<Byte*>(key.data()));
  return key;
}

std::string number(double value) {
  std::string key(sizeof value, '\0');
  store_double(key.data(), value);
  return key;
}

// Keys in rising order; equal neighbours are marked by the same rank.
struct Ranked {
  std::string key;
  int rank;
};

void expect_order(KeyKind kind, const std::vector<Ranked>& keys) {
  for (const Ranked& a : keys) {
    for (const Ranked& b : keys) {
      const int expected = sign(a.rank - b.rank);
      EXPECT_EQ(expected,
                sign(key_order(kind, false).compare(bytes(a.key), bytes(b.key), a.key.size())));
      EXPECT_EQ(-expected,
                sign(key_order(kind, true).compare(bytes(a.key), bytes(b.key), a.key.size())));
    }
  }
}

TEST(KeyOrder, kinds_compare_over_the_whole_key) {
  expect_order(KeyKind::text, {{std::string("AB\0\0\0\0\0\0\0", 9), 1},
                               {"AB       ", 2},
                               {"AB      a", 3},
                               {"ABC      ", 4},
                               {"a        ", 5},
                               {"\xC4        ", 6}});
  expect_order(KeyKind::text, {{"A", 1}, {"a", 2}, {"\xFF", 3}});
  expect_order(KeyKind::collated_text,
               {{"Z1", 5}, {"ZZ", 6}, {"a1", 2}, {"A1", 1}, {"\xC4\x31", 3}, {"B1", 4}});
  expect_order(KeyKind::number, {{number(-1e300), 1},
                                 {number(-2), 2},
                                 {number(-1), 3},
                                 {number(-0.0), 4},
                                 {number(0), 4},
                                 {number(1e-9), 5},
                                 {number(256), 6},
                                 {number(1e100), 7}});
  std::string other_writer = packed(8);
  other_writer[1] = 0x09;
  expect_order(KeyKind::packed_number, {{packed(-123), 1},
                                        {packed(-12.5), 2},
                                        {packed(-0.5), 3},
                                        {packed(0), 4},
                                        {packed(0.25), 5},
                                        {packed(0.5), 6},
                                        {packed(8), 7},
                                        {other_writer, 7},
                                        {packed(12.5), 8},
                                        {packed(123), 9}});
}

// Packed decimals as no number makes them, too: any point, sign and count, any digits.
std::vector<std::string> odd_packed() {
  std::vector<std::string> keys = {packed(-2), packed(0), packed(8)};
  std::mt19937 random(5);
  const auto any_of = [&](const std::string& bytes) { return bytes[random() % bytes.size()]; };
  while (keys.size() < 61) {
    std::string key(convert::kPackedKeyBytes, any_of(std::string("\0\x12\xFF", 3)));
    key[0] = any_of(std::string("\0\x34\x34\x35\xFF", 5));
    key[1] = any_of(std::string("\x01\x01\x02\x81\0\x80\xFF", 7));
    key[2 + random() % 10] = any_of("\x11\x12");
    keys.push_back(key);
  }
  return keys;
}

// In rows of every length, of keys that are equal, or so at their front.
TEST(KeyOrder, bounds_enclose_equal_keys) {
  const struct {
    KeyKind kind;
    std::vector<std::string> keys;
  } cases[] = {
      {KeyKind::text, {"A", "B", "a", "\xC4"}},
      {KeyKind::text, {"AAAAAAAA 1", "AAAAAAAA 2", "AAAAAAAB 1", "B         ", "\xC4       1 "}},
      {KeyKind::text,
       {"AAAAAAAABBBBBBBB1", "AAAAAAAABBBBBBBB2", "AAAAAAAAB       3", "AAAAAAAA\xC4       4",
        "B               5"}},
      {KeyKind::collated_text, {"A1", "a1", "B1", "Z1"}},
      {KeyKind::number, {number(-2), number(-0.0), number(0), number(256)}},
      {KeyKind::packed_number, odd_packed()}};
  for (const auto& [kind, keys] : cases) {
    for (const bool descending : {false, true}) {
      const KeyOrder& order = key_order(kind, descending);
      const auto length = static_cast<std::uint32_t>(keys[0].size());
      std::vector<std::string> row;
      for (std::uint32_t count = 0; count < 70; ++count) {
        std::string all;
        for (const std::string& key : row) all += key;
        for (const std::string& key : keys) {
          const auto bound = [&](int limit) {
            return std::ranges::count_if(row, [&](const std::string& one) {
              return order.compare(bytes(one), bytes(key), length) < limit;
            });
          };
          const KeyGrid grid(length, length, std::max(count, 13u));
          EXPECT_EQ(bound(0), order.lower_bound(grid, bytes(all), count, bytes(key))) << count;
          EXPECT_EQ(bound(1), order.upper_bound(grid, bytes(all), count, bytes(key))) << count;
        }
        row.push_back(keys[count * 7 % keys.size()]);
        std::ranges::stable_sort(row, [&](const std::string& a, const std::string& b) {
          return order.compare(bytes(a), bytes(b), length) < 0;
        });
      }
    }
  }
}

std::string entry(std::uint32_t recno, const std::string& key) {
  std::string result(kEntryHead, '\0');
  store_le32(result.data(), recno);
  return result + key;
}

TEST(StreamOrder, cells_of_the_table) {
  struct Case {
    IndexFamily family;
    const char* spec;
    std::string low, high;
    int tie;  // of equal keys, the lower record number first
  };
  const std::string a = "AAAAAAAAAAAA", b = "BBBBBBBBBBBB";
  const Case cases[] = {{IndexFamily::mdx, "AC12", a, b, -1},
                        {IndexFamily::mdx, "DC12", b, a, 1},
                        {IndexFamily::mdx, "AC12U", a, b, 0},
                        {IndexFamily::mdx, "DC12U", b, a, 0},
                        {IndexFamily::mdx, "AX12", a, b, -1},
                        {IndexFamily::mdx, "AN12", packed(1), packed(2), -1},
                        {IndexFamily::mdx, "AN12", packed(-2), packed(-1), 1},
                        {IndexFamily::mdx, "AF12", packed(0), packed(1), -1},
                        {IndexFamily::mdx, "DN12", packed(2), packed(1), 1},
                        {IndexFamily::mdx, "DN12", packed(-1), packed(-2), -1},
                        {IndexFamily::mdx, "AN12U", packed(-2), packed(-1), 0},
                        {IndexFamily::mdx, "AT8", number(1), number(2), -1},
                        {IndexFamily::mdx, "DT8U", number(2), number(1), 0},
                        {IndexFamily::ndx, "AC12", a, b, -1},
                        {IndexFamily::ndx, "AN8", number(-2), number(1), -1},
                        {IndexFamily::ndx, "AF8U", number(-2), number(1), 0},
                        {IndexFamily::ndx, "AT8", number(1), number(2), -1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.spec);
    const auto spec = parse_stream_spec(c.spec);
    ASSERT_TRUE(spec.has_value());
    const StreamOrder* order = stream_order(c.family, *spec, false);
    ASSERT_NE(nullptr, order);
    const auto compare = [&](const std::string& x, const std::string& y) {
      return sign(compare_entries(*order, spec->key_length, bytes(x), bytes(y)));
    };
    EXPECT_EQ(-1, compare(entry(9, c.low), entry(5, c.high)));
    EXPECT_EQ(1, compare(entry(5, c.high), entry(9, c.low)));
    for (const std::string& key : {c.low, c.high}) {
      if (c.low == packed(0)) break;
      EXPECT_EQ(c.tie, compare(entry(5, key), entry(0x01000000, key)));
      EXPECT_EQ(-c.tie, compare(entry(0x01000000, key), entry(5, key)));
      EXPECT_EQ(0, compare(entry(5, key), entry(5, key)));
    }
  }
}

TEST(StreamOrder, ndx_indexes_do_not_descend) {
  for (const char* text : {"DC10", "DC10U", "DN8", "DT8U"}) {
    EXPECT_EQ(nullptr, stream_order(IndexFamily::ndx, *parse_stream_spec(text), false)) << text;
  }
}

TEST(StreamOrder, language_one_collates_text_only) {
  const auto text = parse_stream_spec("AC1");
  const auto numbers = parse_stream_spec("AN8");
  EXPECT_EQ(KeyKind::collated_text, stream_order(IndexFamily::ndx, *text, true)->kind);
  EXPECT_EQ(KeyKind::number, stream_order(IndexFamily::ndx, *numbers, true)->kind);
}

TEST(StreamOrder, descriptions_parse_and_format) {
  for (const char* text : {"AC10U", "DN12", "AT8"}) {
    ASSERT_TRUE(parse_stream_spec(text).has_value());
    EXPECT_EQ(text, format_stream_spec(*parse_stream_spec(text)));
  }
  for (const char* text : {"", "A", "AC", "AC0", "XC10", "A910", "AC-1", "AC99999999999"}) {
    EXPECT_FALSE(parse_stream_spec(text).has_value()) << text;
  }
}

}  // namespace
}  // namespace vqdb::index
