// A process that dies while it packs a table with its indexes: what can be opened is in step, and
// packing again finishes what was begun.

#include "support/fault_plan.h"
#include "support/orders.h"

namespace {

// A table of a dozen orders, every third of them deleted, with its indexes and list.
std::vector<Order> fill(Orders& orders) {
  orders.create();
  VqDatabase* const database = orders.open();
  std::vector<Order> records;
  for (int i = 0; i < 12; ++i) {
    records.push_back({std::string(1, static_cast<char>('l' - i)), i, 1 + i, false, i % 3 == 0});
    std::uint32_t recno = 0;
    EXPECT_EQ(0, lib.DBapprec(database, record_of(records.back()).data(), &recno));
  }
  EXPECT_EQ(0, lib.DBclose(database));
  return records;
}

void expect_contents(Orders& orders, const std::vector<Order>& records) {
  VqDatabase* const database = orders.use();
  ASSERT_EQ(kOrderIndexes, value(table_member(database).flags));
  expect_in_step(database, orders, records);
  EXPECT_EQ(0, lib.DBclose(database));
}

bool changes_files(Call call) {
  return call == Call::create || call == Call::write || call == Call::sync ||
         call == Call::remove || call == Call::replace;
}

TEST(StoppedPack, leaves_nothing_that_opens_out_of_step) {
  Orders orders;
  // What a dead process leaves goes with the folder.
  ASSERT_EQ(0, lib.dUtmpdir(&orders.block, orders.folder.path().string().c_str()));
  const std::vector<Order> before = fill(orders);
  std::vector<Order> after;
  for (const Order& order : before) {
    if (!order.deleted) after.push_back(order);
  }
  std::vector<std::pair<std::string, std::string>> files;
  for (const std::string& name : orders.folder.list()) {
    files.emplace_back(orders.file(name), read_file(orders.file(name)));
  }
  bool struck = true;
  int marked = 0;
  for (std::uint64_t n = 1; struck && n < 3000; ++n) {
    SCOPED_TRACE(n);
    for (const auto& [name, bytes] : files) write_file(name, bytes);
    std::int32_t result = 0;
    {
      const FaultPlan plan(n, Verdict::fail, changes_files, true);
      result = lib.DBpack(&orders.block, orders.table().c_str());
      struck = plan.struck();
    }
    VqDatabase* database = nullptr;
    const std::int32_t opened = lib.DBuse(&orders.block, orders.table().c_str(), 32, &database);
    if (opened == 0) {
      const bool packed =
          read_file(orders.file("ORDERS.DBF"))[4] == static_cast<char>(after.size());
      EXPECT_TRUE(result != 0 || packed);
      expect_in_step(database, orders, packed ? after : before);
      ASSERT_EQ(0, lib.DBclose(database));
    } else {
      ++marked;
      EXPECT_NE(0, result);
      ASSERT_EQ(6118, orders.block.detail);
      ASSERT_EQ(0, lib.DBpack(&orders.block, orders.table().c_str())) << orders.block.detail;
      expect_contents(orders, after);
    }
    if (HasFailure()) return;
  }
  EXPECT_FALSE(struck);
  EXPECT_GT(marked, 0);
}

}  // namespace
