#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/exports.h"
#include "support/orders.h"

namespace vqdb::testing {
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

TEST_F(Navigation, the_table_goes_by_record_numbers) {
  ASSERT_EQ(0, lib.DBrewind(&table_));
  for (std::uint32_t n = 1; n <= 3; ++n) {
    ASSERT_EQ(0, lib.DBnextrec(&table_, record_.data(), &recno_, nullptr));
    EXPECT_EQ(n, recno_);
    EXPECT_EQ(records_[n - 1].name, name_read());
  }
  EXPECT_EQ(VQ_E_RANGE, lib.DBnextrec(&table_, record_.data(), &recno_, nullptr));
  EXPECT_EQ(263, orders_.block.detail);
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
    EXPECT_EQ(VQ_E_RANGE, lib.DBprevrec(&table_, record_.data(), &recno_, nullptr));
    EXPECT_EQ(262, orders_.block.detail);
    ASSERT_EQ(0, lib.DBrewind(&table_));
  }

  ASSERT_EQ(0, lib.DBgetrec(&table_, as_key(2), record_.data(), &recno_));
  EXPECT_EQ(2U, recno_);
  EXPECT_EQ("bob", name_read());
  EXPECT_EQ(VQ_E_RANGE, lib.DBgetrec(&table_, as_key(0), record_.data(), &recno_));
  EXPECT_EQ(262, orders_.block.detail);
  EXPECT_EQ(VQ_E_RANGE, lib.DBgetrec(&table_, as_key(4), record_.data(), &recno_));
  EXPECT_EQ(263, orders_.block.detail);
}

TEST_F(Navigation, an_index_goes_by_its_keys) {
  ASSERT_EQ(0, lib.DBclose(database_));
  database_ = orders_.open();
  const VqMember names = order_member(database_, orders_, 0);
  EXPECT_EQ(VQ_E_NOT_FOUND, lib.DBcurrec(&names, record_.data(), &recno_, key_.data()));
  EXPECT_EQ(3044, orders_.block.detail);
  ASSERT_EQ(0, lib.DBrewind(&names));
  EXPECT_EQ(VQ_E_INDEX_START, lib.DBcurrec(&names, record_.data(), &recno_, key_.data()));
  EXPECT_EQ(3042, orders_.block.detail);
  for (const std::uint32_t n : {2U, 3U, 1U}) {
    ASSERT_EQ(0, lib.DBnextrec(&names, record_.data(), &recno_, key_.data()));
    EXPECT_EQ(n, recno_);
    EXPECT_EQ(records_[n - 1].name, name_read());
    EXPECT_EQ(kOrderIndex[0].key_of(records_[n - 1]).text, std::string(key_.data(), 12));
    ASSERT_EQ(0, lib.DBcurrec(&names, record_.data(), &recno_, key_.data()));
    EXPECT_EQ(n, recno_);
  }
  EXPECT_EQ(VQ_E_INDEX_END, lib.DBnextrec(&names, record_.data(), &recno_, key_.data()));
  EXPECT_EQ(VQ_E_INDEX_END, lib.DBcurrec(&names, record_.data(), &recno_, key_.data()));
  EXPECT_EQ(3043, orders_.block.detail);
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

TEST_F(Navigation, refuses_members_that_have_no_order) {
  using Call = std::int32_t (*)(const VqMember*, char*, std::uint32_t*, char*);
  struct Case {
    std::int32_t detail;
    bool steps;  // accepts kind 512, whose driver column is empty
    Call call;
  };
  const Case cases[] = {
      {6141, false,
       [](const VqMember* m, char* r, std::uint32_t* n, char* k) {
         return lib.DBgetrec(m, k, r, n);
       }},
      {6151, true,
       [](const VqMember* m, char* r, std::uint32_t* n, char* k) {
         return lib.DBnextrec(m, r, n, k);
       }},
      {6161, true,
       [](const VqMember* m, char* r, std::uint32_t* n, char* k) {
         return lib.DBprevrec(m, r, n, k);
       }},
      {6171, true,
       [](const VqMember* m, char* r, std::uint32_t* n, char* k) {
         return lib.DBcurrec(m, r, n, k);
       }},
      {6181, false,
       [](const VqMember* m, char*, std::uint32_t*, char*) { return lib.DBrewind(m); }},
      {6191, false,
       [](const VqMember* m, char*, std::uint32_t*, char*) { return lib.DBforward(m); }},
  };
  VqMember member = order_member(database_, orders_, 0);
  for (const Case& test : cases) {
    for (const std::uint32_t kind : {0U, 2U, 4U, 8U, 16U, 512U, 2048U}) {
      member.kind = kind;
      member.driver_column = kind == 512 ? 5 : 1;
      orders_.block.detail = 0;
      const bool accepted = test.steps && kind == 512;
      EXPECT_EQ(accepted ? VQ_E_NO_DRIVER : VQ_E_NOT_ALLOWED,
                test.call(&member, record_.data(), &recno_, key_.data()));
      EXPECT_EQ(accepted ? 0 : test.detail, orders_.block.detail);
    }
  }
}

}  // namespace
}  // namespace vqdb::testing
