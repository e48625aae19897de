// The n-th call of the system fails, for n = 1, 2, ... until the operation succeeds: nothing that
// was acknowledged is lost, nothing stays open, and the codes say what failed.
#include <chrono>
#include <future>

#include "api/index_list.h"
#include "support/fault_plan.h"
#include "support/orders.h"

namespace {

using namespace vqdb;

constexpr std::uint64_t kMaxCalls = 500;

const FaultPlan::Filter kAllocations = only(Call::allocate);

// Tests that every index holds each record but the changed one under its key.
void expect_nothing_lost(VqDatabase* database, const Orders& orders,
                         const std::vector<Order>& records, std::uint32_t changed) {
  std::string record(kOrderBytes, '\0');
  const VqMember table = table_member(database);
  for (std::uint32_t n = 1; n <= records.size(); ++n) {
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBnextrec(&table, record.data(), &recno, nullptr));
    if (n == changed) continue;
    ASSERT_EQ(record_of(records[n - 1]), record);
  }
  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    const VqMember member = order_member(database, orders, i);
    ASSERT_EQ(0, lib.DBrewind(&member));
    std::set<std::uint32_t> found;
    std::array<char, 128> key;
    std::uint32_t recno = 0;
    for (std::size_t steps = 0; lib.DBnextrec(&member, record.data(), &recno, key.data()) == 0;
         ++steps) {
      // A page that could not be split to the end may show some entries twice.
      ASSERT_LE(steps, 2 * records.size());
      if (recno == changed) continue;
      found.insert(recno);
      ASSERT_EQ(kOrderIndex[i].key_of(records.at(recno - 1)), kOrderIndex[i].key_in(key.data()));
    }
    EXPECT_EQ(records.size() - (changed <= records.size() ? 1 : 0), found.size());
  }
}

struct Change {
  const char* name;
  std::uint32_t mode;
  bool disk_stays_full, appends;
};

class FailingChange : public ::testing::TestWithParam<Change> {};

// As many records as fill a leaf of the name index, so that the next one splits it.
constexpr std::size_t kRecords = 25;

TEST_P(FailingChange, loses_nothing) {
  bool struck = true;
  for (std::uint64_t n = 1; struck && n < kMaxCalls; ++n) {
    SCOPED_TRACE(n);
    Orders orders;
    orders.create();
    VqDatabase* database = orders.open(GetParam().mode);
    std::vector<Order> records;
    std::uint32_t recno = 0;
    for (std::size_t i = 0; i < kRecords; ++i) {
      records.push_back({std::string(1, static_cast<char>('a' + i)), static_cast<int>(i) * 7,
                         1 + static_cast<int>(i)});
      ASSERT_EQ(0, lib.DBapprec(database, record_of(records.back()).data(), &recno));
    }
    ASSERT_EQ(0, lib.DBclose(database));

    database = orders.use(GetParam().mode);
    const Order order = {"mm", 31, 28};
    const std::uint32_t changed = GetParam().appends ? kRecords + 1 : 3;
    orders.block.detail = 0;
    const bool full = GetParam().disk_stays_full;
    const auto change = [&] {
      const std::int32_t changing = GetParam().appends
                                        ? lib.DBapprec(database, record_of(order).data(), &recno)
                                        : lib.DBupdrec(database, changed, record_of(order).data());
      return changing != 0 ? changing : lib.DBflush(database);
    };
    const auto outcome =
        under_fault(n, Verdict::fail, change, full ? only(Call::write) : nullptr, full);
    const std::int32_t result = outcome.result;
    struck = outcome.struck;
    EXPECT_TRUE(result == 0 || orders.block.detail != 0) << result;
    EXPECT_TRUE(struck || result == 0);
    (void)lib.DBclose(database);

    database = orders.use();
    ASSERT_NE(nullptr, database);
    if (result == 0) {
      if (GetParam().appends) {
        records.push_back(order);
      } else {
        records[changed - 1] = order;
      }
      expect_in_step(database, orders, records);
    } else {
      expect_nothing_lost(database, orders, records, changed);
    }
    EXPECT_EQ(0, lib.DBclose(database));
    if (HasFatalFailure()) return;
  }
  EXPECT_FALSE(struck);
}

INSTANTIATE_TEST_SUITE_P(changes, FailingChange,
                         ::testing::Values(Change{"append", 0, false, true},
                                           Change{"append_shared", 2, false, true},
                                           Change{"append_full", 0, true, true},
                                           Change{"append_shared_full", 4, true, true},
                                           Change{"update", 0, false, false},
                                           Change{"update_shared", 2, false, false},
                                           Change{"update_shared_full", 4, true, false}),
                         by_name);

// A lock that is refused stops a change before anything is written, and the change can be repeated.
TEST(RefusedLock, leaves_everything_as_it_was) {
  for (const bool appends : {true, false}) {
    Orders orders;
    orders.create();
    VqDatabase* const database = orders.open(2);
    std::vector<Order> records = {{"ann", 1, 1}, {"bob", 2, 2}};
    std::uint32_t recno = 0;
    for (const Order& order : records) {
      ASSERT_EQ(0, lib.DBapprec(database, record_of(order).data(), &recno));
    }
    std::size_t refusals = 0;
    bool struck = true;
    for (int n = 1; struck; ++n) {
      const Order order = {"c" + std::to_string(n), n, 1 + n};
      const std::string record = record_of(order);
      std::int32_t result = 0;
      {
        const FaultPlan plan(static_cast<std::uint64_t>(n), Verdict::fail, only(Call::lock));
        result = appends ? lib.DBapprec(database, record.data(), &recno)
                         : lib.DBupdrec(database, 2, record.data());
        struck = plan.struck();
      }
      // A question about a lock may go unanswered and the lock still be had.
      if (result != 0) ++refusals;
      if (result == 0 && !appends) records[1] = order;
      if (result == 0 && appends) records.push_back(order);
      expect_in_step(database, orders, records);
    }
    EXPECT_GE(refusals, 1 + kOrderIndexes) << "the record's or append lock, and one for each index";
    EXPECT_EQ(0, lib.DBclose(database));
  }
}

// What was there before a new table with a memo file stays whole, or gives way as a whole; what was
// begun the next open completes.
TEST(FailingCreate, leaves_all_old_files_or_all_new_ones) {
  const char* const ends[] = {".DBF", ".DBT"};
  for (const int older : {0, 1, 2, 3}) {  // a table, a memo file, or both
    bool struck = true;
    for (std::uint64_t n = 1; struck; ++n) {
      SCOPED_TRACE(::testing::Message() << older << " " << n);
      ASSERT_LT(n, kMaxCalls);
      Orders orders(2);
      const char* const fields[] = {"ID", "N5", "NOTE", "M"};
      const std::string table = orders.file("T"), source = orders.file("S");
      for (const std::string& name : {table, source}) {
        ASSERT_EQ(0, lib.DBcreat(&orders.block, name.c_str(), 2, fields));
      }
      for (const int i : {0, 1}) {
        write_bytes(table + ends[i], 500, "old");
        if ((older >> i & 1) == 0) std::filesystem::remove(table + ends[i]);
      }
      const std::vector<std::string> before = orders.folder.list();
      const auto work = [&] {
        return older % 2 == 0 ? lib.DBcopy(&orders.block, source.c_str(), table.c_str())
                              : lib.DBcreat(&orders.block, table.c_str(), 2, fields);
      };
      const auto [result, reached] = under_fault(n, Verdict::fail, work, all_but(Call::remove));
      struck = reached;
      EXPECT_TRUE(struck || result == 0);
      VqTable* const opened = lib.dDopen(&orders.block, table.c_str(), 1, 1);
      EXPECT_TRUE(opened == nullptr || lib.dDclose(opened) == 0);
      const auto is_new = [&](const char* end) {
        return file_exists(table + end) && read_file(table + end).find("old") == std::string::npos;
      };
      EXPECT_EQ(is_new(".DBF"), is_new(".DBT"));
      EXPECT_TRUE(result != 0 || is_new(".DBF"));
      EXPECT_TRUE(is_new(".DBF") || before == orders.folder.list());
      EXPECT_GE(4U, orders.folder.list().size());
      if (HasFailure()) return;
    }
  }
}

// Somebody else opens the same table, makes its memo file and writes to it between any two steps.
TEST(MissingMemoFile, is_not_made_over_one_that_another_makes_meanwhile) {
  for (const std::uint32_t dialect : {1U, 2U}) {
    bool came = true;
    for (std::uint64_t n = 1; came; ++n) {
      SCOPED_TRACE(n);
      ASSERT_LT(n, kMaxCalls);
      Orders orders(dialect);
      const std::string table = orders.file("T");
      const char* const fields[] = {"NOTE", "M"};
      ASSERT_EQ(0, lib.DBcreat(&orders.block, table.c_str(), 1, fields));
      std::filesystem::remove(table + ".DBT");
      const auto open = [&](VqDatabase*& database) {
        return lib.DBopen(&orders.block, table.c_str(), 2, 1, 1, 0, nullptr, &database, nullptr);
      };
      VqDatabase *mine = nullptr, *theirs = nullptr;
      std::string reference(10, ' ');
      const auto outcome = beside_another(
          n, [&] { return open(mine); },
          [&] {
            ASSERT_EQ(0, open(theirs));
            VqMember memo;
            ASSERT_EQ(0, lib.GRPmember(theirs, VQ_KIND_DBASE4_MEMO, "", "", &memo));
            auto* const file = static_cast<VqMemo*>(memo.handle);
            ASSERT_EQ(0, dialect == 1 ? lib.dTnewmm3(file, 0, 0, "text", reference.data())
                                      : lib.dTnewmm(file, 0, 4, "text", reference.data()));
          });
      came = outcome.struck;
      ASSERT_EQ(0, outcome.result) << orders.block.detail;
      if (came) {
        std::array<char, 10> text;
        std::int32_t length = 0;
        EXPECT_EQ(0, lib.DBgetmemo(mine, reference.data(), 0, 5, text.data(), &length, nullptr));
        EXPECT_EQ(0, lib.DBclose(theirs));
      }
      EXPECT_EQ(0, lib.DBclose(mine));
      EXPECT_EQ((std::vector<std::string>{"T.DBF", "T.DBT"}), orders.folder.list());
    }
  }
}

TEST(FailingUpdate, tells_which_memory_ran_out) {
  Orders orders;
  orders.create();
  VqDatabase* const database = orders.open();
  const std::string record = record_of({"ann", 1, 1});
  std::uint32_t recno = 0;
  for (const std::uint16_t flags : {std::uint16_t{0}, std::uint16_t{1}}) {
    orders.block.runtime_flags = flags;
    const char* const handed = record.data() + flags;
    {
      const FaultPlan plan(1, Verdict::fail, kAllocations);
      EXPECT_EQ(VQ_E_NO_MEMORY, lib.DBapprec(database, handed, &recno));
    }
    EXPECT_EQ(6201, orders.block.detail);
    ASSERT_EQ(0, lib.DBapprec(database, handed, &recno));
    EXPECT_EQ(flags + 1U, recno) << "a refused append leaves no record";
    for (const int n : {1, 2}) {
      const FaultPlan plan(static_cast<std::uint64_t>(n), Verdict::fail, kAllocations);
      EXPECT_EQ(VQ_E_NO_MEMORY, lib.DBupdrec(database, 1, handed));
      EXPECT_EQ(6210 + n, orders.block.detail);
    }
  }
  EXPECT_EQ(0, lib.DBclose(database));
}

TEST(FailingIndexList, leaves_the_old_list_the_new_one_or_none) {
  Orders orders;
  orders.create();
  const std::string list = orders.file("ORDERS.DD");
  bool struck = true;
  for (std::uint64_t n = 1; n < kMaxCalls && struck; ++n) {
    write_file(list, "old");
    const auto [database, reached] = under_fault(
        n, Verdict::cut_short, [&] { return orders.open(); },
        [](Call call) {
          return call == Call::write || call == Call::create || call == Call::replace;
        });
    struck = reached;
    ASSERT_NE(nullptr, database) << "a list that cannot be written does not stop the open";
    EXPECT_EQ(0, lib.DBclose(database));
    EXPECT_TRUE(!file_exists(list) || read_file(list) == "old" || !struck) << n;
  }
  EXPECT_NE("old", read_file(list));
}

// Another process marks the list, or adds a line, between any two steps of one that changes it.
TEST(SharedIndexList, keeps_what_another_wrote_meanwhile) {
  for (const bool marks : {true, false}) {
    bool came = true;
    int done = 0;
    for (std::uint64_t n = 1; came; ++n) {
      SCOPED_TRACE(n);
      ASSERT_LT(n, kMaxCalls);
      Orders orders;
      orders.create();
      const std::string list = orders.file("ORDERS.DD");
      write_file(list, "NDX=" + orders.file("NAMES") + "\r\n");
      VqDatabase *const mine = orders.use(), *const theirs = orders.use();
      const auto build = [&](VqDatabase* database, const std::string& name) {
        return lib.DBindex(database, 64, name.c_str(), nullptr, "AMOUNT", nullptr, 0);
      };
      const std::string one = orders.file("ONE"), two = orders.file("TWO");
      std::future<bool> other;  // it may have to wait
      const auto outcome = beside_another(
          n,
          [&] {
            const std::int32_t result = build(mine, one);
            if (other.valid()) other.wait();
            return result;
          },
          [&] {
            other = std::async(std::launch::async, [&] {
              return marks ? api::mark_index_list(orders.table().c_str(), true)
                           : build(theirs, two) == 0;
            });
            other.wait_for(std::chrono::milliseconds(20));
          });
      came = outcome.struck;
      const std::string text = read_file(list);
      // Two builds on one table may be refused.
      const bool other_done = came && other.get();
      EXPECT_EQ(other_done && marks, text.starts_with("PACKING"));
      EXPECT_TRUE(outcome.result != 0 || text.find("NDX=" + one) != std::string::npos);
      EXPECT_TRUE(marks || !other_done || text.find("NDX=" + two) != std::string::npos);
      EXPECT_EQ(0, lib.DBclose(mine));
      EXPECT_EQ(0, lib.DBclose(theirs));
      done += other_done ? 1 : 0;
      if (HasFailure()) return;
    }
    EXPECT_LT(10, done);
  }
}

}  // namespace
