// Every operation on a whole group, with each call of the system failing in turn: the files are the
// old ones or the complete new ones, nothing stays open or locked, and the next open works.

#include "support/fault_plan.h"
#include "support/orders.h"

namespace {

// NAME C4, COUNT N3, NOTE M: 18 bytes with the deletion flag.
constexpr std::size_t kRecordBytes = 18;

std::string record_of(const std::string& name, int count, bool deleted = false) {
  const std::string number = std::to_string(count);
  return (deleted ? "*" : " ") + padded(name, 4) + std::string(3 - number.size(), ' ') + number +
         std::string(10, ' ');
}

// An index of the group, or one that may join it. Keys sort as the bytes of their field.
struct Index {
  std::uint32_t kind;
  const char* file;
  const char* tag;
  std::size_t offset, length;
};
constexpr Index kIndexes[] = {{64, "A", nullptr, 1, 4},
                              {32, "T", "BYCOUNT", 5, 3},
                              {64, "NEW", nullptr, 1, 4},
                              {32, "T", "NEW", 1, 4},
                              {32, "FRESH", "NEW", 1, 4}};
constexpr std::uint32_t kMembers = 3;  // A, T and its tag

// A table with a memo file, an NDX and an MDX file, as it is before each attempt.
class Group {
 public:
  Group() {
    EXPECT_EQ(0, lib.DBinit(&block, 2));
    EXPECT_EQ(0, lib.dUtmpdir(&block, folder.path().string().c_str()));
    const char* const fields[] = {"NAME", "C4", "COUNT", "N3", "NOTE", "M"};
    EXPECT_EQ(0, lib.DBcreat(&block, table().c_str(), 3, fields));
    VqDatabase* const database = use(0);
    std::uint32_t recno = 0;
    for (const std::string& record : records) {
      EXPECT_EQ(0, lib.DBapprec(database, record.data(), &recno));
    }
    EXPECT_EQ(0, build(database, 64, "A", nullptr, "NAME"));
    EXPECT_EQ(0, build(database, 16, "T", "BYCOUNT", "COUNT"));
    EXPECT_EQ(0, lib.DBclose(database));
    for (const std::string& name : folder.list()) files_[name] = read_file(file(name));
  }

  void restore() {
    for (const std::string& name : folder.list()) {
      if (!files_.contains(name)) std::filesystem::remove(file(name));
    }
    for (const auto& [name, bytes] : files_) write_file(file(name), bytes);
    block.detail = 0;
  }

  std::string file(const std::string& name) const { return folder.file(name); }
  std::string table() const { return file("TABLE"); }
  std::set<std::string> names() const {
    const std::vector<std::string> list = folder.list();
    return {list.begin(), list.end()};
  }

  VqDatabase* use(std::uint32_t mode) {
    VqDatabase* database = nullptr;
    EXPECT_EQ(0, lib.DBuse(&block, table().c_str(), mode, &database)) << block.detail;
    return database;
  }

  std::int32_t build(VqDatabase* database, std::uint32_t kind, const char* name, const char* tag,
                     const char* key) {
    return lib.DBindex(database, kind, file(name).c_str(), tag, key, nullptr, 0);
  }

  // Tests that nobody has a lock on the table, while a database has it open.
  void expect_unlocked() {
    VqTable* const other = lib.dDopen(&block, table().c_str(), 2, 1);
    ASSERT_NE(nullptr, other);
    EXPECT_EQ(0, lib.dDlkfil(other)) << block.detail;
    EXPECT_EQ(0, lib.dDclose(other));
  }

  // What a pack with this result left, finished where it was begun; the records that there are.
  void finish_pack(std::int32_t result, std::vector<std::string>& left) {
    VqDatabase* database = nullptr;
    if (lib.DBuse(&block, table().c_str(), 0, &database) == 0) {
      ASSERT_EQ(0, lib.DBclose(database));
    } else {
      EXPECT_NE(0, result);
      ASSERT_EQ(6118, block.detail);
      ASSERT_EQ(0, result = lib.DBpack(&block, table().c_str())) << block.detail;
    }
    const bool packed = read_file(file("TABLE.DBF"))[4] == 3;
    EXPECT_TRUE(result != 0 || packed);
    if (packed) std::erase_if(left, [](const std::string& record) { return record[0] == '*'; });
  }

  // Tests that the group opens with this many members and each of them has every record.
  void expect_in_step(const std::set<std::uint32_t>& members,
                      const std::vector<std::string>& expected) {
    VqDatabase* const database = use(0);
    ASSERT_NE(nullptr, database);
    EXPECT_TRUE(members.contains(value(table_member(database).flags)))
        << value(table_member(database).flags);
    const VqMember table = table_member(database);
    std::string record(kRecordBytes, '\0');
    std::uint32_t recno = 0;
    std::array<char, 128> key;
    for (const std::string& each : expected) {
      ASSERT_EQ(0, lib.DBnextrec(&table, record.data(), &recno, nullptr));
      EXPECT_EQ(each, record);
    }
    EXPECT_NE(0, lib.DBnextrec(&table, record.data(), &recno, nullptr));
    for (const Index& index : kIndexes) {
      VqMember member;
      if (lib.GRPmember(database, index.kind, file(index.file).c_str(), index.tag, &member) != 0) {
        continue;
      }
      using Entry = std::pair<std::string, std::uint32_t>;
      std::vector<Entry> wanted, found;
      for (std::size_t i = 0; i < expected.size(); ++i) {
        wanted.emplace_back(expected[i].substr(index.offset, index.length), i + 1);
      }
      std::ranges::sort(wanted);
      EXPECT_EQ(0, lib.DBrewind(&member));
      while (found.size() <= wanted.size() &&
             lib.DBnextrec(&member, record.data(), &recno, key.data()) == 0) {
        found.emplace_back(record.substr(index.offset, index.length), recno);
      }
      EXPECT_EQ(wanted, found) << index.file;
    }
    EXPECT_EQ(0, lib.DBclose(database));
  }

  TemporaryFolder folder;
  VqBlock block;
  const std::vector<std::string> records = {record_of("dora", 3), record_of("bob", 9, true),
                                            record_of("carl", 5), record_of("anna", 1)};

 private:
  std::map<std::string, std::string> files_;
};

constexpr std::int32_t kClosed = -1;  // the operation opens and closes by itself

struct Operation {
  const char* name;
  std::int32_t mode;    // of the database that it works on, or kClosed
  std::uint32_t joins;  // members that come in when it succeeds
  const char* makes;    // a file that is new then
  std::int32_t (*run)(Group&, VqDatabase*);
  bool appends_first = false;  // in buffers that the operation may write
  bool packs = false;
};

VqMember member_of(Group& group, VqDatabase* database, const Index& index) {
  VqMember member = {};
  (void)lib.GRPmember(database, index.kind, group.file(index.file).c_str(), index.tag, &member);
  return member;
}

template <std::size_t I>
std::int32_t set_record(Group& group, VqDatabase* database) {
  const VqMember member = member_of(group, database, kIndexes[I]);
  const std::string key = "bob ";
  std::array<char, 12> number;
  EXPECT_EQ(0, lib.dUnftonk(&group.block, 16, "9", 1, number.data()));
  std::uint32_t recno = 0;
  const std::int32_t result = lib.DBsetrec(&member, I == 1 ? number.data() : key.data(), &recno);
  EXPECT_TRUE(result != 0 || recno == 2) << recno;
  return result;
}

template <std::size_t I>
std::int32_t flush_member(Group& group, VqDatabase* database) {
  const VqMember member =
      I == 0 ? table_member(database) : member_of(group, database, kIndexes[I - 1]);
  return lib.DBmember_flush(&member);
}

const Operation kOperations[] = {
    {"index", 0, 1, "NEW.NDX",
     [](Group& g, VqDatabase* d) { return g.build(d, 64, "NEW", nullptr, "NAME"); }},
    {"index_shared", 2, 1, "NEW.NDX",
     [](Group& g, VqDatabase* d) { return g.build(d, 64, "NEW", nullptr, "NAME"); }},
    {"tag", 0, 1, nullptr,
     [](Group& g, VqDatabase* d) { return g.build(d, 16, "T", "NEW", "NAME"); }},
    {"tag_shared", 4, 1, nullptr,
     [](Group& g, VqDatabase* d) { return g.build(d, 16, "T", "NEW", "NAME"); }},
    {"first_tag", 4, 2, "FRESH.MDX",
     [](Group& g, VqDatabase* d) { return g.build(d, 16, "FRESH", "NEW", "NAME"); }},
    {"reindex", 0, 0, nullptr, [](Group&, VqDatabase* d) { return lib.DBreindex(d); }},
    {"pack", kClosed, 0, nullptr,
     [](Group& g, VqDatabase*) { return lib.DBpack(&g.block, g.table().c_str()); }, false, true},
    {"setrec", 2, 0, nullptr, set_record<0>},
    {"setrec_tag", 4, 0, nullptr, set_record<1>},
    {"flush_table", 0, 0, nullptr, flush_member<0>, true},
    {"flush_index", 0, 0, nullptr, flush_member<1>, true},
    {"flush_tag", 0, 0, nullptr, flush_member<2>, true},
};

class FailingGroup : public ::testing::TestWithParam<Operation> {};

TEST_P(FailingGroup, has_old_or_complete_files_and_opens_again) {
  const Operation& operation = GetParam();
  Group group;
  const std::set<std::string> before = group.names();
  std::set<std::string> after = before;
  if (operation.makes != nullptr) after.insert(operation.makes);
  const std::uint32_t joined = kMembers + operation.joins;
  for (const Verdict verdict : {Verdict::fail, Verdict::cut_short}) {
    if (verdict == Verdict::cut_short && operation.packs) break;  // many calls, and no other ways
    bool struck = true;
    for (std::uint64_t n = 1; struck; ++n) {
      SCOPED_TRACE(n);
      ASSERT_LT(n, 1000U);
      group.restore();
      std::vector<std::string> records = group.records;
      VqDatabase* database = nullptr;
      if (operation.mode != kClosed)
        database = group.use(static_cast<std::uint32_t>(operation.mode));
      if (operation.appends_first) {
        records.push_back(record_of("eve", 7));
        std::uint32_t recno = 0;
        ASSERT_EQ(0, lib.DBapprec(database, records.back().data(), &recno));
      }
      Call call = Call::open;
      std::uint64_t calls = 0;
      const auto counted = [&](Call each) {
        if (each == Call::remove) return false;  // what cannot be removed stays
        if (++calls == n) call = each;
        return true;
      };
      const auto outcome = under_fault(
          n, verdict, [&] { return operation.run(group, database); }, counted);
      struck = outcome.struck;
      const std::int32_t result = outcome.result;
      SCOPED_TRACE(codes(result, group.block) + " call " + std::to_string(static_cast<int>(call)));
      EXPECT_TRUE(struck || result == 0);
      EXPECT_TRUE(result == 0 || result == VQ_E_NO_MEMORY || group.block.detail != 0) << result;
      if (database != nullptr) {
        if (call != Call::unlock) group.expect_unlocked();
        (void)lib.DBclose(database);
      }
      const std::set<std::string> names = group.names();
      EXPECT_TRUE(names == after || (result != 0 && names == before))
          << ::testing::PrintToString(names);
      for (const std::string& name : names) EXPECT_FALSE(is_open(group.file(name))) << name;
      if (operation.packs) group.finish_pack(result, records);
      group.expect_in_step(result == 0 ? std::set{joined} : std::set{kMembers, joined}, records);
      if (HasFailure()) return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(operations, FailingGroup, ::testing::ValuesIn(kOperations), by_name);

}  // namespace
