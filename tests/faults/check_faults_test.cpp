// What a compaction leaves that stops between its two files.

#include "support/checked_group.h"
#include "support/fault_plan.h"

namespace {

void prepare(CheckedGroup& group) {
  group.create();
  group.fill(8);
  ASSERT_EQ(0, lib.DBclose(group.open()));
}

// The memo texts of all records.
std::vector<std::string> texts_of(CheckedGroup& group) {
  VqDatabase* database = nullptr;
  EXPECT_EQ(
      0, lib.DBopen(&group.block, group.table().c_str(), 64, 4, 1, 0, nullptr, &database, nullptr));
  if (database == nullptr) return {};
  const std::vector<std::string> texts = CheckedGroup::memos(database);
  EXPECT_EQ(0, lib.DBclose(database));
  return texts;
}

// What a compaction that was cut off left is cleared away, or changed, before the next open.
TEST(CutOffCompaction, takes_no_missing_or_changed_file_for_its_own) {
  const struct {
    const char* what;
    std::uint64_t replaced;  // the journal, the table, the memo file
    const char* file;
    bool removed;
    const char* now;  // the table and the memo file
  } cases[] = {{"nothing done", 2, "", false, "both new"},
               {"table done", 3, "", false, "both new"},
               {"new table removed", 2, "ITEMS.DBF$NEW", true, "both old"},
               {"table changed", 2, "ITEMS.DBF", false, "both old"},
               {"new table changed", 3, "ITEMS.DBF", false, "refused"},
               {"new memo file removed", 3, "ITEMS.DBT$NEW", true, "refused"},
               {"memo file changed", 3, "ITEMS.DBT", false, "refused"}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.what);
    CheckedGroup group;
    prepare(group);
    VqDatabase* database = group.open();
    ASSERT_EQ(0, lib.DBupdrec(database, 1, group.record(database, 52).data()));
    ASSERT_EQ(0, lib.DBclose(database));
    const std::vector<std::string> texts = texts_of(group);
    const std::size_t size = read_file(group.file("ITEMS.DBT")).size();
    {
      const auto is_change = [](Call call) {
        return call == Call::replace || call == Call::remove;
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
    EXPECT_EQ(std::vector<std::string>(), group.leftovers());
  }
}

}  // namespace
