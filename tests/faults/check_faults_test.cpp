// Checks, repairs and compactions while the n-th call of the system fails, for n = 1, 2, ... until
// none does; and with a process that dies there.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/checked_group.h"
#include "support/fault_plan.h"

namespace vqdb::testing {
namespace {

using platform::Verdict;

constexpr std::uint64_t kMaxCalls = 3000;

struct Work {
  const char* name;
  std::int32_t (*run)(CheckedGroup&);
  bool damages;
};

const Work kWorks[] = {
    {"check", [](CheckedGroup& group) { return group.check().result; }, false},
    {"repair",
     [](CheckedGroup& group) { return run_check(lib.DBrepair, group.block, group.table()).result; },
     true},
    {"compact",
     [](CheckedGroup& group) { return lib.DBcompact(&group.block, group.table().c_str()); }, false},
};

void prepare(CheckedGroup& group, bool damages) {
  group.create();
  group.fill(8);
  ASSERT_EQ(0, lib.DBclose(group.open()));
  if (!damages) return;
  write_bytes(group.file("ITEMS.DBF"), 4, "\x03");
  write_bytes(group.file("ITEMS.DBT"), 2, "\x7F");
  write_bytes(group.file("BYNAME.NDX"), 1024, "\x77");
}

// The memo texts of all records, in order.
std::string texts_of(CheckedGroup& group) {
  VqDatabase* database = nullptr;
  EXPECT_EQ(
      0, lib.DBopen(&group.block, group.table().c_str(), 64, 4, 1, 0, nullptr, &database, nullptr));
  if (database == nullptr) return "none";
  VqMember table = {};
  EXPECT_EQ(0, lib.GRPmember(database, 1, nullptr, nullptr, &table));
  std::string record(CheckedGroup::kRecordBytes, '\0');
  std::string all;
  std::uint32_t recno = 0;
  while (lib.DBnextrec(&table, record.data(), &recno, nullptr) == 0) {
    for (const std::size_t field : {std::size_t{28}, std::size_t{38}}) {
      std::string text(2000, '\0');
      std::int32_t length = 0;
      if (lib.DBgetmemo(database, &record[field], 0, 1999, text.data(), &length, nullptr) == 0) {
        all.append(text.substr(0, static_cast<std::size_t>(length)));
      }
      all += '|';
    }
  }
  EXPECT_EQ(0, lib.DBclose(database));
  return all;
}

std::vector<std::string> strange_files(CheckedGroup& group) {
  std::vector<std::string> strange;
  for (const std::string& name : group.folder.list()) {
    if (name.find("BY") != 0 && name.find("ITEMS.D") != 0) strange.push_back(name);
    if (name.find_first_of("~$") != std::string::npos) strange.push_back(name);
  }
  return strange;
}

class FailingCheck : public ::testing::TestWithParam<Work> {};

TEST_P(FailingCheck, says_so_and_loses_nothing) {
  std::string texts;
  {
    CheckedGroup whole;
    prepare(whole, false);
    texts = texts_of(whole);
  }
  bool struck = true;
  for (std::uint64_t n = 1; struck && n < kMaxCalls; n += 1 + n / 64) {
    SCOPED_TRACE(n);
    CheckedGroup group;
    prepare(group, GetParam().damages);
    std::int32_t result = 0;
    {
      const FaultPlan plan(n, n % 2 == 0 ? Verdict::fail : Verdict::cut_short);
      result = GetParam().run(group);
      struck = plan.struck();
    }
    EXPECT_TRUE(result <= 0 || struck) << result;
    if (!struck) {
      EXPECT_EQ(0, result);
    }
    if (GetParam().damages) {
      EXPECT_EQ(0, run_check(lib.DBrepair, group.block, group.table()).result);
    }
    EXPECT_EQ("", group.check().summary());
    EXPECT_EQ(std::vector<std::string>(), strange_files(group));
    EXPECT_EQ(texts, texts_of(group));
  }
}

// From the n-th write, rename or removal on nothing reaches the disk any more.
TEST_P(FailingCheck, may_be_cut_off_anywhere) {
  const auto is_change = [](platform::Call call) {
    return call == platform::Call::write || call == platform::Call::create ||
           call == platform::Call::replace || call == platform::Call::remove;
  };
  std::string texts;
  {
    CheckedGroup whole;
    prepare(whole, false);
    texts = texts_of(whole);
  }
  bool struck = true;
  for (std::uint64_t n = 1; struck && n < kMaxCalls; ++n) {
    SCOPED_TRACE(n);
    CheckedGroup group;
    prepare(group, GetParam().damages);
    {
      const FaultPlan plan(n, n % 2 == 0 ? Verdict::fail : Verdict::cut_short, is_change, true);
      (void)GetParam().run(group);
      struck = plan.struck();
    }
    if (GetParam().damages) {
      EXPECT_EQ(0, run_check(lib.DBrepair, group.block, group.table()).result);
    }
    EXPECT_EQ(texts, texts_of(group));
    EXPECT_EQ("", group.check().summary());
    EXPECT_FALSE(file_exists(group.file("ITEMS.DBF$")));
  }
}

// What a compaction that was cut off left is cleared away, or changed, before the next open.
TEST(CutOffCompaction, takes_no_missing_or_changed_file_for_its_own) {
  struct Case {
    const char* what;
    std::uint64_t replaced;  // the journal, the table, the memo file
    const char* file;
    bool removed;
    const char* now;  // the table and the memo file
  };
  const Case cases[] = {{"nothing done", 2, "", false, "both new"},
                        {"table done", 3, "", false, "both new"},
                        {"new table removed", 2, "ITEMS.DBF$NEW", true, "both old"},
                        {"table changed", 2, "ITEMS.DBF", false, "both old"},
                        {"new table changed", 3, "ITEMS.DBF", false, "refused"},
                        {"new memo file removed", 3, "ITEMS.DBT$NEW", true, "refused"},
                        {"memo file changed", 3, "ITEMS.DBT", false, "refused"}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    CheckedGroup group;
    prepare(group, false);
    VqDatabase* database = group.open();
    ASSERT_EQ(0, lib.DBupdrec(database, 1, group.record(database, 52).data()));
    ASSERT_EQ(0, lib.DBclose(database));
    const std::string texts = texts_of(group);
    const std::size_t size = read_file(group.file("ITEMS.DBT")).size();
    {
      const auto is_change = [](platform::Call call) {
        return call == platform::Call::replace || call == platform::Call::remove;
      };
      // A leftover is removed before each of the two files is made.
      const FaultPlan plan(each.replaced + 2, Verdict::fail, is_change, true);
      EXPECT_GT(0, lib.DBcompact(&group.block, group.table().c_str()));
    }
    ASSERT_TRUE(file_exists(group.file("ITEMS.DBF$")));
    const std::string touched = group.file(each.file);
    if (each.removed) {
      std::filesystem::remove(touched);
    } else if (*each.file != '\0') {
      write_bytes(touched, read_file(touched).size(), "x");
    }
    const std::int32_t apart = lib.dDapart(&group.block, group.table().c_str());
    VqTable* const table = lib.dDopen(&group.block, group.table().c_str(), 0, 4);
    if (each.now == std::string("refused")) {
      EXPECT_EQ(VQ_E_IO, apart);
      EXPECT_EQ(nullptr, table);
      EXPECT_EQ(10049, group.block.detail);
      continue;
    }
    ASSERT_NE(nullptr, table);
    ASSERT_EQ(0, lib.dDclose(table));
    EXPECT_EQ(texts, texts_of(group));
    EXPECT_EQ(each.now == std::string("both new"),
              read_file(group.file("ITEMS.DBT")).size() < size);
    EXPECT_EQ(std::vector<std::string>(), strange_files(group));
  }
}

INSTANTIATE_TEST_SUITE_P(Works, FailingCheck, ::testing::ValuesIn(kWorks),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace vqdb::testing
