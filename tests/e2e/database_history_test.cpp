// Random histories of a database against a model: whatever is appended, changed and deleted, in
// every open mode, the table and all of its indexes say the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "support/exports.h"
#include "support/orders.h"

namespace vqdb::testing {
namespace {

constexpr int kSteps = 1200;
constexpr int kStepsBetweenChecks = 300;

class History : public ::testing::TestWithParam<std::tuple<std::uint32_t, bool>> {
 protected:
  void SetUp() override {
    orders_.create();
    database_ = orders_.open(mode());
    ASSERT_NE(nullptr, database_);
  }

  std::uint32_t mode() const { return std::get<0>(GetParam()); }
  bool fields_only() const { return std::get<1>(GetParam()); }

  std::uint32_t pick(std::size_t count) { return static_cast<std::uint32_t>(random_() % count); }

  // Few names and amounts, so that keys repeat across pages.
  Order random_order() {
    Order order;
    const std::uint32_t letters = 1 + pick(4);
    for (std::uint32_t i = 0; i < letters; ++i) {
      order.name += static_cast<char>((pick(2) != 0 ? 'a' : 'A') + pick(6));
    }
    order.cents = static_cast<std::int32_t>(pick(4000)) - 2000;
    order.due = 1 + static_cast<std::int32_t>(pick(28));
    order.paid = pick(2) != 0;
    return order;
  }

  // The record as the host hands it over.
  std::string handed(const Order& order) const {
    return record_of(order).substr(fields_only() ? 1 : 0);
  }

  void append() {
    const Order order = random_order();
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBapprec(database_, handed(order).data(), &recno)) << orders_.block.detail;
    records_.push_back(order);
    ASSERT_EQ(records_.size(), recno);
  }

  void update(std::uint32_t recno) {
    Order order = records_[recno - 1];
    switch (pick(4)) {
      case 0:
        order.paid = !order.paid;
        break;  // no key changes
      case 1:
        order.cents += 1;
        break;
      default:
        order = random_order();
        break;
    }
    order.deleted = false;
    ASSERT_EQ(0, lib.DBupdrec(database_, recno, handed(order).data())) << orders_.block.detail;
    records_[recno - 1] = order;
  }

  void set_deleted(std::uint32_t recno, bool deleted) {
    ASSERT_EQ(0, deleted ? lib.DBdelrec(database_, recno) : lib.DBrclrec(database_, recno));
    records_[recno - 1].deleted = deleted;
    ASSERT_EQ(deleted ? '*' : ' ', lib.DBrecsta(database_, recno));
  }

  // Looks a key up that is there, or not, and compares with what the model says.
  void seek() {
    const std::size_t i = pick(kOrderIndexes);
    const OrderIndex& index = kOrderIndex[i];
    const OrderKey key = index.key_of(random_order());
    const OrderKey* next = nullptr;
    std::vector<OrderKey> keys;
    for (const Order& order : records_) keys.push_back(index.key_of(order));
    for (const OrderKey& other : keys) {
      if (other >= key && (next == nullptr || other < *next)) next = &other;
    }
    const VqMember member = order_member(database_, orders_, i);
    std::string record(kOrderBytes, '\0');
    std::uint32_t recno = 0;
    const std::int32_t result =
        lib.DBgetrec(&member, index.bytes_of(key).data(), record.data(), &recno);
    ASSERT_EQ(next != nullptr && *next == key ? 0 : VQ_E_NOT_FOUND, result);
    ASSERT_EQ(next == nullptr, recno == 0) << index.file;
    if (next == nullptr) return;
    ASSERT_EQ(*next, keys[recno - 1]) << index.file;
    ASSERT_EQ(record_of(records_[recno - 1]).substr(fields_only() ? 1 : 0),
              record.substr(0, kOrderBytes - (fields_only() ? 1 : 0)));
  }

  void reopen() {
    ASSERT_EQ(0, lib.DBclose(database_));
    ASSERT_EQ(0, lib.DBuse(&orders_.block, orders_.table().c_str(), mode(), &database_))
        << orders_.block.detail;
    set_flags();
  }

  void check() {
    orders_.block.runtime_flags = 0;
    expect_in_step(database_, orders_, records_);
    set_flags();
  }

  void set_flags() { orders_.block.runtime_flags = fields_only() ? 1 : 0; }

  Orders orders_;
  VqDatabase* database_ = nullptr;
  std::vector<Order> records_;
  std::mt19937 random_{20};
};

TEST_P(History, keeps_table_and_indexes_in_step) {
  set_flags();
  for (int step = 1; step <= kSteps && !HasFatalFailure(); ++step) {
    const std::uint32_t choice = pick(100);
    const std::uint32_t recno = records_.empty() ? 0 : 1 + pick(records_.size());
    if (choice < 45 || recno == 0) {
      append();
    } else if (choice < 75) {
      update(recno);
    } else if (choice < 85) {
      set_deleted(recno, choice < 80);
    } else if (choice < 99) {
      seek();
    } else {
      reopen();
    }
    if (step % kStepsBetweenChecks == 0 && !HasFatalFailure()) check();
  }
  ASSERT_EQ(0, lib.DBflush(database_));
  EXPECT_EQ(0, lib.DBclose(database_));
}

INSTANTIATE_TEST_SUITE_P(modes, History,
                         ::testing::Combine(::testing::Values(0U, 2U, 4U), ::testing::Bool()));

}  // namespace
}  // namespace vqdb::testing
