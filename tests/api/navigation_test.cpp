#include "support/orders.h"

namespace {

const void* as_key(std::uint32_t recno) {
  return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(recno));
}

class Navigation : public ::testing::Test {
 protected:
  void SetUp() override {
    orders_.create();
    database_ = orders_.open();
    ASSERT_NE(nullptr, database_);
    table_ = table_member(database_);
    for (const Order& order : records_) {
      ASSERT_EQ(0, lib.DBapprec(database_, record_of(order).data(), &recno_));
    }
  }
  void TearDown() override { EXPECT_EQ(0, lib.DBclose(database_)); }

  std::string name_read() const { return order_in(record_).name; }

  Orders orders_;
  VqDatabase* database_ = nullptr;
  VqMember table_ = {};
  const std::vector<Order> records_ = {{"dora", 300, 9}, {"bob", 500, 3}, {"carl", 100, 5}};
  std::string record_ = std::string(kOrderBytes, '\0');
  std::array<char, 128> key_ = {};
  std::uint32_t recno_ = 0;
};

TEST_F(Navigation, records_in_blocks_are_those_that_come_one_by_one) {
  const VqMember names = order_member(database_, orders_, 0);
  for (const VqMember* const member : std::array<const VqMember*, 2>{&table_, &names}) {
    for (std::uint16_t flags = 0; flags < 2; ++flags) {
      orders_.block.runtime_flags = flags;
      const std::size_t length = kOrderBytes - flags;
      std::string expected(4 * length, '\0');
      std::array<std::uint32_t, 4> numbers = {};
      ASSERT_EQ(0, lib.DBrewind(member));
      std::uint32_t count = 0;
      std::int32_t last = 0;
      for (; last == 0; count += last == 0 ? 1 : 0) {
        last =
            lib.DBnextrec(member, expected.data() + count * length, &numbers[count], key_.data());
      }
      EXPECT_EQ(3u, count);
      std::string records(4 * length, '\0');
      std::array<std::uint32_t, 4> got_numbers = {};
      std::uint32_t got = 9;
      ASSERT_EQ(0, lib.DBrewind(member));
      EXPECT_EQ(0, lib.DBgetrecs(member, 1, records.data(), got_numbers.data(), &got));
      EXPECT_EQ(1u, got);
      EXPECT_EQ(last, lib.DBgetrecs(member, 3, records.data() + length, &got_numbers[1], &got));
      EXPECT_EQ(2u, got);
      EXPECT_EQ(expected, records);
      EXPECT_EQ(numbers, got_numbers);
    }
  }
  orders_.block.runtime_flags = 0;
}

// The index names records that the table does not have, to the end of the index or farther on.
TEST_F(Navigation, blocks_end_where_steps_do_and_go_on_from_there) {
  const VqMember names = order_member(database_, orders_, 0);
  auto* const index = static_cast<VqIndex*>(names.handle);
  std::string records(50 * kOrderBytes, ' ');
  std::array<std::uint32_t, 50> numbers = {};
  std::uint32_t got = 0;
  const auto end_of = [&](std::uint32_t most) {
    EXPECT_EQ(0, lib.DBrewind(&names));
    std::uint32_t all = 0;
    std::int32_t result = 0;
    for (; result == 0; all += got) {
      result = lib.DBgetrecs(&names, most, records.data(), numbers.data(), &got);
    }
    std::string end = std::to_string(all) + " " + codes(result, orders_.block);
    for (const auto step : {lib.dNcurkey, lib.dNnxtkey, lib.dNprvkey, lib.dNprvkey}) {
      const std::int32_t stepped = step(index, key_.data(), &recno_);
      end += " " + std::to_string(stepped) + "/" + std::to_string(recno_);
    }
    return end;
  };
  for (const char first : {'e', 'b'}) {  // behind dora, and before carl
    key_.fill(' ');
    key_[0] = first;
    key_[1] = 'x';
    for (std::uint32_t recno = 120; recno >= 100; --recno) {
      const auto key = key_;
      ASSERT_EQ(0, lib.dNputkey(index, key.data(), recno));
      EXPECT_EQ(end_of(1), end_of(50)) << recno;
      key_ = key;
    }
  }
}

TEST_F(Navigation, the_table_goes_by_record_numbers) {
  ASSERT_EQ(0, lib.DBrewind(&table_));
  for (std::uint32_t n = 1; n <= 3; ++n) {
    ASSERT_EQ(0, lib.DBnextrec(&table_, record_.data(), &recno_, nullptr));
    EXPECT_EQ(n, recno_);
    EXPECT_EQ(records_[n - 1].name, name_read());
  }
  EXPECT_EQ("-4/263",
            codes(lib.DBnextrec(&table_, record_.data(), &recno_, nullptr), orders_.block));
  EXPECT_EQ(4U, recno_);
  ASSERT_EQ(0, lib.DBcurrec(&table_, record_.data(), &recno_, nullptr));
  EXPECT_EQ(3U, recno_) << "a failed step does not move";

  ASSERT_EQ(0, lib.DBforward(&table_));
  EXPECT_EQ(VQ_E_RANGE, lib.DBcurrec(&table_, record_.data(), &recno_, nullptr));
  for (std::uint32_t n = 3; n >= 1; --n) {
    ASSERT_EQ(0, lib.DBprevrec(&table_, record_.data(), &recno_, nullptr));
    EXPECT_EQ(n, recno_);
  }
  for (int again = 0; again < 2; ++again) {
    EXPECT_EQ("-4/262",
              codes(lib.DBprevrec(&table_, record_.data(), &recno_, nullptr), orders_.block));
    ASSERT_EQ(0, lib.DBrewind(&table_));
  }

  ASSERT_EQ(0, lib.DBgetrec(&table_, as_key(2), record_.data(), &recno_));
  EXPECT_EQ(2U, recno_);
  EXPECT_EQ("bob", name_read());
  EXPECT_EQ("-4/262",
            codes(lib.DBgetrec(&table_, as_key(0), record_.data(), &recno_), orders_.block));
  EXPECT_EQ("-4/263",
            codes(lib.DBgetrec(&table_, as_key(4), record_.data(), &recno_), orders_.block));
}

TEST_F(Navigation, an_index_goes_by_its_keys) {
  ASSERT_EQ(0, lib.DBclose(database_));
  database_ = orders_.open();
  const VqMember names = order_member(database_, orders_, 0);
  EXPECT_EQ("-5/3044",
            codes(lib.DBcurrec(&names, record_.data(), &recno_, key_.data()), orders_.block));
  ASSERT_EQ(0, lib.DBrewind(&names));
  EXPECT_EQ("-6/3042",
            codes(lib.DBcurrec(&names, record_.data(), &recno_, key_.data()), orders_.block));
  for (const std::uint32_t n : {2U, 3U, 1U}) {
    ASSERT_EQ(0, lib.DBnextrec(&names, record_.data(), &recno_, key_.data()));
    EXPECT_EQ(n, recno_);
    EXPECT_EQ(records_[n - 1].name, name_read());
    EXPECT_EQ(kOrderIndex[0].key_of(records_[n - 1]).text, std::string(key_.data(), 12));
    ASSERT_EQ(0, lib.DBcurrec(&names, record_.data(), &recno_, key_.data()));
    EXPECT_EQ(n, recno_);
  }
  EXPECT_EQ(VQ_E_INDEX_END, lib.DBnextrec(&names, record_.data(), &recno_, key_.data()));
  EXPECT_EQ("-7/3043",
            codes(lib.DBcurrec(&names, record_.data(), &recno_, key_.data()), orders_.block));
  ASSERT_EQ(0, lib.DBforward(&names));
  ASSERT_EQ(0, lib.DBprevrec(&names, record_.data(), &recno_, key_.data()));
  EXPECT_EQ(1U, recno_);
}

TEST_F(Navigation, a_search_stops_at_the_next_key) {
  struct Case {
    const char* name;
    std::int32_t result;
    std::uint32_t recno;
  };
  const VqMember names = order_member(database_, orders_, 0);
  for (const auto& [name, result, recno] :
       {Case{"bob", 0, 2}, Case{"bobby", VQ_E_NOT_FOUND, 3}, Case{"", VQ_E_NOT_FOUND, 2},
        Case{"dora", 0, 1}, Case{"eve", VQ_E_NOT_FOUND, 0}}) {
    const std::string key = kOrderIndex[0].key_of({name}).text;
    const std::string before(kOrderBytes, '?');
    record_ = before;
    EXPECT_EQ(result, lib.DBgetrec(&names, key.data(), record_.data(), &recno_)) << name;
    EXPECT_EQ(recno, recno_) << name;
    EXPECT_EQ(recno == 0 ? before : record_of(records_[recno - 1]), record_) << name;
  }
}

TEST_F(Navigation, an_index_leads_to_what_others_have_appended) {
  for (const std::uint32_t mode : {2U, 4U, 5U}) {
    ASSERT_EQ(0, lib.DBclose(database_));
    database_ = orders_.open(mode);
    const VqMember names = order_member(database_, orders_, 0);
    const std::string first = kOrderIndex[0].key_of(records_[1]).text;
    ASSERT_EQ(0, lib.DBgetrec(&names, first.data(), record_.data(), &recno_));
    VqDatabase* const other = orders_.open(2);
    const Order order = {"zoe" + std::to_string(mode), 1, 1};
    std::uint32_t appended = 0;
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(0, lib.DBapprec(other, record_of(order).data(), &appended));
    }
    EXPECT_EQ(0, lib.DBclose(other));
    const std::string key = kOrderIndex[0].key_of(order).text;
    EXPECT_EQ(0, lib.DBgetrec(&names, key.data(), record_.data(), &recno_)) << mode;
    EXPECT_EQ(record_of(order), record_);
    EXPECT_EQ(0, lib.DBnextrec(&names, record_.data(), &recno_, key_.data())) << mode;
    EXPECT_EQ(record_of(order), record_);
  }
}

TEST_F(Navigation, refuses_members_that_have_no_order) {
  const struct {
    std::int32_t detail;
    bool steps;  // accepts kind 512, whose driver column is empty
    std::function<std::int32_t(const VqMember*)> call;
  } cases[] = {
      {6141, false, [&](auto* m) { return lib.DBgetrec(m, key_.data(), record_.data(), &recno_); }},
      {6151, true, [&](auto* m) { return lib.DBnextrec(m, record_.data(), &recno_, key_.data()); }},
      {6161, true, [&](auto* m) { return lib.DBprevrec(m, record_.data(), &recno_, key_.data()); }},
      {6171, true, [&](auto* m) { return lib.DBcurrec(m, record_.data(), &recno_, key_.data()); }},
      {6181, false, lib.DBrewind},
      {6191, false, lib.DBforward}};
  VqMember member = order_member(database_, orders_, 0);
  for (const auto& test : cases) {
    for (const std::uint32_t kind : {0U, 2U, 4U, 8U, 16U, 512U, 2048U}) {
      member.kind = kind;
      member.driver_column = kind == 512 ? 5 : 1;
      orders_.block.detail = 0;
      const bool accepted = test.steps && kind == 512;
      EXPECT_EQ(accepted ? VQ_E_NO_DRIVER : VQ_E_NOT_ALLOWED, test.call(&member));
      EXPECT_EQ(accepted ? 0 : test.detail, orders_.block.detail);
    }
  }
}

}  // namespace
