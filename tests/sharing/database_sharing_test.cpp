// Several processes on one database at once.
#include <chrono>

#include "support/order_tags.h"
#include "support/process.h"

namespace {

// A refused lock is no failure: its caller tries again.
bool is_refusal(std::int32_t result) {
  return result == VQ_E_LOCKED || result == VQ_E_FILE_LOCKED || result == VQ_E_LOCK_REFUSED;
}

// Opens the database of args: dialect, table, mode. Calls wait for as long as it takes.
VqDatabase* open_shared(VqBlock& block, const Arguments& args) {
  VqDatabase* database = nullptr;
  if (lib.DBinit(&block, static_cast<std::uint32_t>(std::stoi(args[0]))) != 0) return nullptr;
  (void)lib.dUsetwait(&block, 60000);
  (void)lib.DBuse(&block, args[1].c_str(), static_cast<std::uint32_t>(std::stoi(args[2])) | 32,
                  &database);
  return database;
}

// Ends a child after its work, with a line that says what went wrong.
int report(const VqBlock& block, std::int32_t result) {
  say(result == 0 ? "done" : std::to_string(result) + "/" + std::to_string(block.detail));
  return result == 0 ? 0 : 1;
}

// Appends args[3] orders by the name args[4].
VQ_CHILD(append_orders) {
  VqBlock block;
  VqDatabase* const database = open_shared(block, args);
  if (database == nullptr) return report(block, -1);
  say("ready");
  wait_for_line();
  const int count = std::stoi(args[3]);
  std::int32_t result = 0;
  for (int i = 0; i < count && result == 0; ++i) {
    const std::string record = record_of({args[4] + std::to_string(i % 10), i, 1 + i % 28});
    std::uint32_t recno = 0;
    result = lib.DBapprec(database, record.data(), &recno);
  }
  if (result == 0) result = lib.DBclose(database);
  return report(block, result);
}

// Finds records by one of the indexes, edits and saves args[3] of them, of those that are being
// appended the day alone; the choices are those of the seed args[4]. Of equal keys the one that
// came last is found, so that appends are met on their way.
VQ_CHILD(find_edit_and_save) {
  VqBlock block;
  VqDatabase* const database = open_shared(block, args);
  if (database == nullptr) return report(block, -1);
  say("ready");
  wait_for_line();
  std::mt19937 random(static_cast<unsigned>(std::stoi(args[4])));
  const auto pick = [&](unsigned below) { return static_cast<int>(random() % below); };
  const auto name = [&] { return "c" + std::to_string(pick(9)); };
  const std::string folder = args[1].substr(0, args[1].size() - std::string("ORDERS").size());
  std::int32_t result = 0;
  for (int saved = 0; saved < std::stoi(args[3]) && result == 0;) {
    const OrderIndex& index = kOrderIndex[random() % kOrderIndexes];
    const std::string file = folder + index.file;
    VqMember member;
    if (lib.GRPmember(database, index.kind, file.c_str(), nullptr, &member) != 0) return 1;
    const std::string wanted = pick(2) == 0 ? name() : "anna" + std::to_string(pick(10));
    const std::string key = index.bytes_of(index.key_of({wanted, pick(400), 1 + pick(28)}));
    std::string record(kOrderBytes, ' ');
    std::uint32_t recno = 0;
    result = lib.DBgetrec(&member, key.data(), record.data(), &recno);
    const bool missed = result == VQ_E_NOT_FOUND || is_refusal(result);
    if (missed) result = 0;
    if (record[1] == ' ') continue;
    Order order = order_in(record);
    if (record[1] == 'c') {
      order.name = name();
      order.cents = pick(20);
    }
    order.due = 1 + pick(28);
    const int what = pick(6);
    result = what == 0   ? lib.DBdelrec(database, recno)
             : what == 1 ? lib.DBrclrec(database, recno)
                         : lib.DBupdrec(database, recno, record_of(order).data());
    ++saved;
  }
  if (result == 0) result = lib.DBclose(database);
  return report(block, result);
}

// Holds a lock of the kind that args[3] names until told to let go.
VQ_CHILD(hold_lock) {
  VqBlock block;
  VqDatabase* const database = open_shared(block, args);
  if (database == nullptr) return report(block, -1);
  auto* const table = static_cast<VqTable*>(table_member(database).handle);
  const std::int32_t result = args[3] == "record"   ? lib.dDlkrec(table, 2)
                              : args[3] == "append" ? lib.dDlkapp(table)
                                                    : lib.dDlkfil(table);
  say(result == 0 ? "held" : std::to_string(block.detail));
  wait_for_line();
  (void)lib.DBclose(database);
  return 0;
}

// The tags of TAGS, of which one is dropped and made anew as another all the time, and one more
// comes and goes.
const OrderTag kKeptTag = {
    "KEPT", "NAME", ".NOT. DELETED()", "C12", [](const Order& o) { return !o.deleted; }, name_key};
const OrderTag kMadeTags[] = {
    {"MADE", "AMOUNT", "AMOUNT < 1", "N", [](const Order& o) { return o.cents < 100; }, amount_key},
    {"MADE", "NAME", "DELETED()", "C12", [](const Order& o) { return o.deleted; }, name_key},
    {"MADE", "DUE", nullptr, "DD", [](const Order&) { return true; }, due_key}};
const OrderTag kAddedTag = {"ADDED", "DUE", nullptr, "D", [](const Order&) { return true; },
                            due_key};

VQ_CHILD(drop_and_make_tags) {
  VqBlock block;
  (void)lib.DBinit(&block, static_cast<std::uint32_t>(std::stoi(args[0])));
  const auto mode = static_cast<std::uint32_t>(std::stoi(args[2]));
  VqTable* const table = lib.dDopen(&block, args[1].c_str(), mode, 4);
  const std::string name = args[1].substr(0, args[1].size() - 6) + "TAGS";
  VqIndex* const file = lib.dXopen(table, name.c_str(), mode, 10);
  if (file == nullptr) return report(block, block.result);
  say("ready");
  wait_for_line();
  std::int32_t result = 0;
  for (int i = 0; i < std::stoi(args[3]) && result == 0; ++i) {
    const OrderTag& tag = i % 4 == 3 ? kAddedTag : kMadeTags[i % 4];
    do {
      result = lib.dXdeltag(file, tag.name);
    } while (is_refusal(result));
    if (result == 0 || result == VQ_E_UNKNOWN_NAME) {
      do {
        result = lib.dXindex(file, tag.name, tag.key, tag.format, tag.filter);
      } while (is_refusal(result));
    }
  }
  if (result == 0) result = lib.dXclose(file);
  (void)lib.dDclose(table);
  return report(block, result);
}

struct Sharing {
  std::uint32_t dialect, mode;
};

class ConcurrentChanges : public ::testing::TestWithParam<Sharing> {};
class SharedDatabase : public ::testing::TestWithParam<Sharing> {};

TEST_P(ConcurrentChanges, processes_that_append_and_change_at_once_lose_nothing) {
  constexpr int kAppends = 400;
  Orders orders(GetParam().dialect);
  orders.create();
  VqDatabase* database = orders.open();
  ASSERT_NE(nullptr, database);
  for (int i = 0; i < 20; ++i) {
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBapprec(database, record_of({"c1", i, 1}).data(), &recno));
  }
  const std::string tags = orders.file("TAGS");
  ASSERT_EQ(0, lib.DBindex(database, 16, tags.c_str(), "KEPT", "NAME", kKeptTag.filter, 0));
  ASSERT_EQ(0, lib.DBclose(database));

  const Arguments place = {std::to_string(GetParam().dialect), orders.table(),
                           std::to_string(GetParam().mode)};
  const auto with = [&](const std::string& count, const std::string& name) {
    Arguments args = place;
    args.push_back(count);
    args.push_back(name);
    return args;
  };
  {
    Child anna("append_orders", with(std::to_string(kAppends), "anna"));
    Child bert("append_orders", with(std::to_string(kAppends), "bert"));
    Child carl("find_edit_and_save", with(std::to_string(kAppends), "7"));
    Child dora("find_edit_and_save", with(std::to_string(kAppends), "8"));
    Child emil("drop_and_make_tags", with("40", ""));
    const std::array<Child*, 5> all = {&anna, &bert, &carl, &dora, &emil};
    for (Child* child : all) ASSERT_EQ("ready", child->read_line());
    for (Child* child : all) child->write_line("go");
    for (Child* child : all) EXPECT_EQ("done", child->read_line());
  }

  database = orders.open();
  ASSERT_NE(nullptr, database);
  const VqMember table = table_member(database);
  std::vector<Order> records;
  std::vector<int> seen[2] = {std::vector<int>(kAppends), std::vector<int>(kAppends)};
  std::string record(kOrderBytes, '\0');
  std::uint32_t recno = 0;
  while (lib.DBnextrec(&table, record.data(), &recno, nullptr) == 0) {
    records.push_back(order_in(record));
    const Order& order = records.back();
    if (order.name[0] == 'a') ++seen[0].at(static_cast<std::size_t>(order.cents));
    if (order.name[0] == 'b') ++seen[1].at(static_cast<std::size_t>(order.cents));
  }
  EXPECT_EQ(20U + 2 * kAppends, records.size());
  for (const std::vector<int>& each : seen) EXPECT_EQ(std::vector<int>(kAppends, 1), each);
  expect_in_step(database, orders, records);
  EXPECT_EQ(0, lib.DBclose(database));
  const MdxReport report = read_mdx(tags + ".MDX");
  EXPECT_EQ("", report.all_faults());
  EXPECT_EQ(0u, report.orphans.size());
  for (const OrderTag& tag : {kKeptTag, kMadeTags[2], kAddedTag}) expect_tag(tag, report, records);
}

TEST_P(SharedDatabase, a_lock_of_another_process_stops_just_what_it_covers) {
  Orders orders(GetParam().dialect);
  orders.create();
  VqDatabase* const database = orders.open(GetParam().mode);
  const std::vector<Order> records = {{"ann", 1, 1}, {"bob", 2, 2}, {"cid", 3, 3}};
  std::uint32_t recno = 0;
  for (std::size_t i = 0; i < 2; ++i) {
    ASSERT_EQ(0, lib.DBapprec(database, record_of(records[i]).data(), &recno));
  }
  struct Case {
    const char* lock;
    bool stops_first, stops_second, stops_appends;
  };
  for (const Case& test : {Case{"record", false, true, false}, Case{"append", false, false, true},
                           Case{"file", true, true, true}}) {
    SCOPED_TRACE(test.lock);
    Child other("hold_lock", {std::to_string(GetParam().dialect), orders.table(),
                              std::to_string(GetParam().mode), test.lock});
    ASSERT_EQ("held", other.read_line());
    const std::string changed = record_of({"zoe", 9, 9});
    for (const std::uint32_t n : {1U, 2U}) {
      const bool stops = n == 1 ? test.stops_first : test.stops_second;
      EXPECT_EQ(stops, is_refusal(lib.DBupdrec(database, n, changed.data())));
      EXPECT_EQ(stops, is_refusal(lib.DBdelrec(database, n)));
      EXPECT_EQ(stops, is_refusal(lib.DBrclrec(database, n)));
      if (!stops) {
        EXPECT_EQ(0, lib.DBupdrec(database, n, record_of(records[n - 1]).data()));
      }
    }
    if (test.stops_appends) {
      EXPECT_TRUE(is_refusal(lib.DBapprec(database, changed.data(), &recno)));
    }
    other.write_line("let go");
    EXPECT_EQ(0, other.wait());
  }
  auto* const table = static_cast<VqTable*>(table_member(database).handle);
  ASSERT_EQ(0, lib.dDlkrec(table, 1));
  EXPECT_EQ(0, lib.DBupdrec(database, 1, record_of(records[0]).data()));
  EXPECT_EQ(1, lib.dDlkcnt(table)) << "a lock of the host's stays";
  EXPECT_EQ(0, lib.DBupdrec(database, 2, record_of(records[1]).data()));
  EXPECT_EQ(1, lib.dDlkcnt(table)) << "a lock of the call's goes";
  EXPECT_EQ(0, lib.dDlkapp(table));
  EXPECT_EQ(0, lib.DBapprec(database, record_of(records[2]).data(), &recno));
  EXPECT_EQ(0, lib.dDulkapp(table)) << "the host's append lock stays";
  expect_in_step(database, orders, records);
  EXPECT_EQ(0, lib.DBclose(database));
}

TEST_P(SharedDatabase, calls_wait_as_long_as_the_host_has_asked_for) {
  Orders orders(GetParam().dialect);
  orders.create();
  VqDatabase* const database = orders.open(GetParam().mode);
  auto* const table = static_cast<VqTable*>(table_member(database).handle);
  const std::string record = record_of({"ann", 1, 1});
  std::uint32_t recno = 0;
  for (int i = 0; i < 2; ++i) ASSERT_EQ(0, lib.DBapprec(database, record.data(), &recno));
  const struct {
    const char* lock;
    std::function<std::int32_t()> call;
  } cases[] = {{"record", [&] { return lib.dDlkrec(table, 2); }},
               {"record", [&] { return lib.DBupdrec(database, 2, record.data()); }},
               {"file", [&] { return lib.dDdelrec(table, 1); }},
               {"file", [&] { return lib.dDlkfil(table); }},
               {"append", [&] { return lib.DBapprec(database, record.data(), &recno); }}};
  for (const auto& test : cases) {
    SCOPED_TRACE(&test - cases);
    Child other("hold_lock", {std::to_string(GetParam().dialect), orders.table(),
                              std::to_string(GetParam().mode), test.lock});
    ASSERT_EQ("held", other.read_line());
    lib.dUsetwait(&orders.block, 40);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(is_refusal(test.call()));
    // Less by a tick of the clock, on Windows.
    EXPECT_LE(std::chrono::milliseconds(20), std::chrono::steady_clock::now() - begin);
    lib.dUsetwait(&orders.block, 60000);
    orders.block.detail = 7;
    other.write_line("let go");
    EXPECT_EQ(0, test.call());
    EXPECT_EQ(7, value(orders.block.detail)) << "waiting is no failure";
    EXPECT_EQ(0, other.wait());
    while (lib.dDlkcnt(table) > 0) ASSERT_EQ(0, lib.dDpoplk(table));
  }
  EXPECT_EQ(0, lib.DBclose(database));
}

// Dialects 1 and 2 lock by schemes 1 and 0. Tables of the last three have no locks; those of the
// index files stand in for them.
INSTANTIATE_TEST_SUITE_P(modes, SharedDatabase,
                         ::testing::Values(Sharing{1, 2}, Sharing{1, 4}, Sharing{2, 2},
                                           Sharing{2, 4}));
INSTANTIATE_TEST_SUITE_P(modes, ConcurrentChanges,
                         ::testing::Values(Sharing{1, 2}, Sharing{1, 4}, Sharing{2, 2},
                                           Sharing{2, 4}, Sharing{2, 6}, Sharing{8, 2},
                                           Sharing{32776, 4}, Sharing{16, 6}));

}  // namespace
