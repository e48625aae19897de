// Searching and stepping: what the position is after every kind of operation.
#include <cmath>
#include <tuple>

#include "support/ndx_fixture.h"

namespace {

// Keys 10, 20, ... 10 * count with the same record numbers, over several levels of pages, in every
// open mode.
class NdxPosition : public NdxFixture, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
  static constexpr std::uint32_t kCount = 2000;

  void SetUp() override {
    NdxFixture::SetUp();
    index_ = make("P", "N", GetParam());
    ASSERT_NE(nullptr, index_);
  }
  void fill() {
    for (std::uint32_t i = 1; i <= kCount; ++i) {
      const std::uint32_t n = i * 7 % (kCount + 1) * 10;
      ASSERT_EQ(0, lib.dNputkey(index_, number_key(n).data(), n));
    }
  }
  void TearDown() override {
    EXPECT_EQ(0, lib.dNclose(index_));
    EXPECT_EQ("", read("P").all_faults());
    NdxFixture::TearDown();
  }

  int32_t next() { return lib.dNnxtkey(index_, key_.data(), &recno_); }
  int32_t previous() { return lib.dNprvkey(index_, key_.data(), &recno_); }
  int32_t current() { return lib.dNcurkey(index_, key_.data(), &recno_); }
  int32_t seek(double n) { return lib.dNgetrno(index_, number_key(n).data(), &recno_); }
  int32_t put(std::uint32_t n) { return lib.dNputkey(index_, number_key(n).data(), n); }
  int32_t remove(std::uint32_t n) { return lib.dNrmkey(index_, number_key(n).data(), n); }
  // The entry that was just delivered.
  void expect_at(std::uint32_t n) {
    EXPECT_EQ(number_key(n), key_);
    EXPECT_EQ(n, recno_);
  }
  void expect_no_current() { EXPECT_EQ("-5/3044", codes(current(), block)); }

  VqIndex* index_ = nullptr;
  std::string key_ = std::string(8, '\0');
  std::uint32_t recno_ = 0;
};

TEST_P(NdxPosition, empty_index_has_both_ends_at_once) {
  expect_no_current();
  EXPECT_EQ("-7/3203", codes(next(), block));
  EXPECT_EQ("-7/3043", codes(current(), block));
  EXPECT_EQ("-7/3202", codes(next(), block));
  EXPECT_EQ("-6/3173", codes(previous(), block));
  EXPECT_EQ("-6/3042", codes(current(), block));
  EXPECT_EQ("-6/3172", codes(previous(), block));
  recno_ = 9;
  EXPECT_EQ("-5/3093", codes(seek(1), block));
  EXPECT_EQ(0u, recno_);
  EXPECT_EQ(-5, remove(10));
}

TEST_P(NdxPosition, stepping_starts_at_either_end) {
  fill();
  ASSERT_EQ(0, lib.dNclose(index_));
  index_ = open("P", GetParam());
  expect_no_current();
  ASSERT_EQ(0, next());
  expect_at(10);
  ASSERT_EQ(0, lib.dNclose(index_));
  index_ = open("P", GetParam());
  ASSERT_EQ(0, previous());
  expect_at(10 * kCount);
  ASSERT_EQ(0, lib.dNrewind(index_));
  EXPECT_EQ(-6, current());
  EXPECT_EQ(-6, previous());
  ASSERT_EQ(0, next());
  expect_at(10);
  ASSERT_EQ(0, lib.dNforwrd(index_));
  EXPECT_EQ(-7, current());
  EXPECT_EQ(-7, next());
  ASSERT_EQ(0, previous());
  expect_at(10 * kCount);
  ASSERT_EQ(0, current());
  expect_at(10 * kCount);
}

TEST_P(NdxPosition, search_delivers_the_key_or_the_next_one) {
  fill();
  ASSERT_EQ(0, seek(5000));
  EXPECT_EQ(5000u, recno_);
  ASSERT_EQ(0, current());
  expect_at(5000);
  ASSERT_EQ(0, next());
  expect_at(5010);

  EXPECT_EQ("-5/3094", codes(seek(5005), block));
  EXPECT_EQ(5010u, recno_);
  expect_no_current();
  ASSERT_EQ(0, next());
  expect_at(5020);
  EXPECT_EQ(-5, seek(5005));
  ASSERT_EQ(0, previous());
  expect_at(5000);

  EXPECT_EQ("-5/3093", codes(seek(1e9), block));
  EXPECT_EQ(0u, recno_);
  expect_no_current();
  ASSERT_EQ(0, previous());
  expect_at(10 * kCount);
  EXPECT_EQ(-5, seek(1e9));
  EXPECT_EQ(-7, next());
}

TEST_P(NdxPosition, many_keys_at_once_are_found_as_one_by_one) {
  fill();
  for (std::uint32_t n = 20; n <= kCount * 10; n += 30) ASSERT_EQ(0, remove(n));
  ASSERT_EQ(0, lib.dNputkey(index_, number_key(70).data(), 7));
  std::mt19937 random(3);
  for (const std::uint32_t count : {1u, 16u, 17u, 300u}) {
    std::string keys;
    std::vector<std::uint32_t> expected(count), recnos(count, 9);
    std::uint32_t present = 0;
    for (std::uint32_t& recno : expected) {
      const auto n = static_cast<double>(random() % (kCount * 2 + 20) * 5);
      keys += number_key(n);
      recno = seek(n) == 0 ? recno_ : 0;
      present += recno != 0 ? 1 : 0;
    }
    const auto position = [&] { return std::tuple{current(), next(), recno_, key_}; };
    const auto expected_position = position();
    std::uint32_t found = 9;
    ASSERT_EQ(0, lib.dNseeks(index_, keys.data(), count, recnos.data(), &found));
    EXPECT_EQ(present, found);
    EXPECT_EQ(expected, recnos);
    EXPECT_EQ(expected_position, position());
  }
  const std::string odd = number_key(10) + number_key(std::nan(""));
  std::uint32_t recnos[2], found = 9;
  EXPECT_EQ("-4/3092", codes(lib.dNseeks(index_, odd.data(), 2, recnos, &found), block));
  EXPECT_EQ(1u, found);
}

// From the start, from an entry, from a gap, and past the last key.
TEST_P(NdxPosition, many_steps_at_once_are_those_one_by_one) {
  fill();
  ASSERT_EQ(0, lib.dNputkey(index_, number_key(70).data(), 7));
  for (const std::uint32_t from : {0u, 70u, 5005u, 10 * kCount - 100}) {
    const auto start = [&] {
      EXPECT_EQ(0, lib.dNrewind(index_));
      if (from != 0 && seek(from) != 0) {
        EXPECT_EQ(0, put(from) | remove(from));
      }
      block.detail = 0;
    };
    for (const std::uint32_t count : {0u, 1u, 32u, 300u, 4000u}) {
      start();
      std::string keys;
      std::vector<std::uint32_t> recnos;
      std::int32_t result = 0;
      while (recnos.size() < count && (result = next()) == 0) {
        keys += key_;
        recnos.push_back(recno_);
      }
      const std::string end = codes(result, block);
      const auto position = [&] { return std::tuple{current(), previous(), recno_, key_}; };
      const auto expected_position = position();
      start();
      std::string got_keys(8 * count + 8, '#');
      std::vector<std::uint32_t> got_recnos(count + 1);
      std::uint32_t got = 9;
      EXPECT_EQ(end, codes(lib.dNnxtkeys(index_, count, got_keys.data(), got_recnos.data(), &got),
                           block));
      ASSERT_EQ(recnos.size(), got);
      got_recnos.resize(got);
      EXPECT_EQ(recnos, got_recnos);
      EXPECT_EQ(keys, got_keys.substr(0, 8 * got));
      EXPECT_EQ(expected_position, position());
    }
  }
}

TEST_P(NdxPosition, inserted_entry_is_the_current_one) {
  fill();
  ASSERT_EQ(0, seek(100));
  ASSERT_EQ(0, put(7775));
  ASSERT_EQ(0, current());
  expect_at(7775);
  ASSERT_EQ(0, next());
  expect_at(7780);
  ASSERT_EQ(0, put(7776));
  ASSERT_EQ(0, previous());
  expect_at(7775);
  ASSERT_EQ(0, lib.dNupdkey(index_, number_key(7775).data(), number_key(12345).data(), 7775));
  EXPECT_EQ(0, current());
  EXPECT_EQ(number_key(12345), key_);
  ASSERT_EQ(0, previous());
  expect_at(12340);
}

TEST_P(NdxPosition, removal_leaves_a_gap_between_its_neighbours) {
  fill();
  ASSERT_EQ(0, remove(600));
  expect_no_current();
  ASSERT_EQ(0, next());
  expect_at(610);
  ASSERT_EQ(0, remove(620));
  ASSERT_EQ(0, previous());
  expect_at(610);
  ASSERT_EQ(0, remove(10 * kCount));
  EXPECT_EQ(-7, next());
  ASSERT_EQ(0, previous());
  expect_at(10 * kCount - 10);
  EXPECT_EQ(-5, remove(3));
  ASSERT_EQ(0, current());
  expect_at(10 * kCount - 10);
}

TEST_P(NdxPosition, walk_that_removes_every_other_entry_sees_them_all) {
  fill();
  ASSERT_EQ(0, lib.dNrewind(index_));
  for (std::uint32_t n = 10; n <= 10 * kCount; n += 10) {
    ASSERT_EQ(0, next());
    expect_at(n);
    if (n % 20 == 0) {
      ASSERT_EQ(0, remove(n));
    }
  }
  EXPECT_EQ(-7, next());
  for (std::uint32_t n = 10 * kCount + 10; n > 10;) {
    ASSERT_EQ(0, previous());
    expect_at(n -= 20);
  }
}

// Another handle changes the file under a position.
class SharedNdxPosition : public NdxPosition {};

TEST_P(SharedNdxPosition, position_survives_changes_of_others) {
  fill();
  VqIndex* other = open("P", GetParam());
  ASSERT_NE(nullptr, other);
  ASSERT_EQ(0, seek(900));
  for (std::uint32_t n = 1; n < 890; ++n) {
    if (n % 10 != 0) {
      ASSERT_EQ(0, lib.dNputkey(other, number_key(n).data(), n));
    }
  }
  ASSERT_EQ(0, next());
  expect_at(910);
  ASSERT_EQ(0, lib.dNrmkey(other, number_key(910).data(), 910));
  ASSERT_EQ(0, current());
  expect_at(910);
  ASSERT_EQ(0, next());
  expect_at(920);
  ASSERT_EQ(0, lib.dNrmkey(other, number_key(920).data(), 920));
  ASSERT_EQ(0, previous());
  expect_at(900);
  // Both go on changing the same file.
  for (std::uint32_t n = 30001; n < 30500; n += 2) {
    ASSERT_EQ(0, lib.dNputkey(other, number_key(n).data(), n));
    ASSERT_EQ(0, put(n + 1));
  }
  EXPECT_EQ(0, lib.dNclose(other));
  EXPECT_EQ(kCount + 801 + 500 - 2, read("P").entries.size());
}

std::string mode_name(const ::testing::TestParamInfo<std::uint32_t>& mode) {
  return "mode" + std::to_string(mode.param);
}

INSTANTIATE_TEST_SUITE_P(Modes, NdxPosition, ::testing::Values(0u, 2u, 4u), mode_name);
INSTANTIATE_TEST_SUITE_P(Modes, SharedNdxPosition, ::testing::Values(2u, 4u), mode_name);

}  // namespace
