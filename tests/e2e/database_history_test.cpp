// Random histories of a database against a model: whatever is appended, changed and deleted, in
// every open mode and in shared ones by three handles in turn, the table and all of its indexes say
// the same.
#include <tuple>

#include "support/orders.h"

namespace {

constexpr int kSteps = 1200;
constexpr int kStepsBetweenChecks = 300;

class History : public ::testing::TestWithParam<std::tuple<std::uint32_t, std::uint16_t>> {
 protected:
  void SetUp() override {
    orders_.create();
    handles_.push_back(orders_.open(mode()));
    while (mode() != 0 && handles_.size() < 3) handles_.push_back(orders_.open(mode()));
    for (VqDatabase* const handle : handles_) ASSERT_NE(nullptr, handle);
  }

  std::uint32_t mode() const { return std::get<0>(GetParam()); }
  std::uint16_t flags() const { return std::get<1>(GetParam()); }
  bool fields_only() const { return (flags() & 1) != 0; }
  // Whether reads may show what a record was before another handle changed it.
  bool reads_old() const { return mode() == 4 || (mode() == 2 && (flags() & 2) != 0); }

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
    if (!reads_old()) {
      ASSERT_EQ(deleted ? '*' : ' ', lib.DBrecsta(database_, recno));
    }
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
    const std::string bytes = index.bytes_of(key);
    const std::int32_t result = reads_old()
                                    ? lib.DBsetrec(&member, bytes.data(), &recno)
                                    : lib.DBgetrec(&member, bytes.data(), record.data(), &recno);
    ASSERT_EQ(next != nullptr && *next == key ? 0 : VQ_E_NOT_FOUND, result);
    ASSERT_EQ(next == nullptr, recno == 0) << index.file;
    if (next == nullptr) return;
    ASSERT_EQ(*next, keys[recno - 1]) << index.file;
    if (reads_old()) return;
    ASSERT_EQ(record_of(records_[recno - 1]).substr(fields_only() ? 1 : 0),
              record.substr(0, kOrderBytes - (fields_only() ? 1 : 0)));
  }

  void reopen() {
    ASSERT_EQ(0, lib.DBclose(database_));
    handles_[turn_] = orders_.use(mode());
  }

  // Through a handle that has read nothing yet where several write.
  void check() {
    orders_.block.runtime_flags = 0;
    VqDatabase* const reader = mode() == 0 ? database_ : orders_.open(mode());
    expect_in_step(reader, orders_, records_);
    if (mode() != 0) {
      ASSERT_EQ(0, lib.DBclose(reader));
    }
    orders_.block.runtime_flags = flags();
  }

  void take_turn() {
    turn_ = pick(handles_.size());
    database_ = handles_[turn_];
  }

  Orders orders_;
  std::vector<VqDatabase*> handles_;
  std::size_t turn_ = 0;
  VqDatabase* database_ = nullptr;  // of the handle whose turn it is
  std::vector<Order> records_;
  std::mt19937 random_{20};
};

TEST_P(History, keeps_table_and_indexes_in_step) {
  orders_.block.runtime_flags = flags();
  for (int step = 1; step <= kSteps && !HasFatalFailure(); ++step) {
    take_turn();
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
  for (VqDatabase* const handle : handles_) {
    ASSERT_EQ(0, lib.DBflush(handle));
    EXPECT_EQ(0, lib.DBclose(handle));
  }
}

INSTANTIATE_TEST_SUITE_P(modes, History,
                         ::testing::Values(std::tuple{0U, std::uint16_t{0}}, std::tuple{0U, 1},
                                           std::tuple{2U, 0}, std::tuple{2U, 2}, std::tuple{2U, 1},
                                           std::tuple{4U, 0}, std::tuple{4U, 1}));

}  // namespace
