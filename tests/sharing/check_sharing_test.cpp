// A check while another process works on the group.

#include "support/checked_group.h"
#include "support/process.h"

namespace {

VQ_CHILD(change_records_until_told) {
  CheckedGroup group;
  VqBlock& block = group.block;
  VqDatabase* database = nullptr;
  if (lib.DBuse(&block, args[0].c_str(), 2, &database) != 0) return 1;
  say("ready");
  std::uint32_t recno = 0;
  std::int32_t done = 0;
  for (std::size_t i = 100; i < 100000 && !file_exists(args[1]); ++i) {
    if (lib.DBapprec(database, group.record(database, i).data(), &recno) == 0) ++done;
    if (lib.DBupdrec(database, 1 + static_cast<std::uint32_t>(i % 12),
                     group.record(database, i).data()) == 0) {
      ++done;
    }
  }
  const bool worked = done > 0;
  return lib.DBclose(database) == 0 && worked ? 0 : 2;
}

TEST(CheckSharing, never_takes_another_process_at_work_for_damage) {
  CheckedGroup group;
  group.create();
  group.fill();
  ASSERT_EQ(0, lib.DBclose(group.open()));
  const std::string stop = group.file("STOP");
  Child child("change_records_until_told", {group.table(), stop});
  ASSERT_EQ("ready", child.read_line());
  int checked = 0;
  for (int i = 0; i < 500; ++i) {
    const Report report = group.check();
    EXPECT_TRUE(report.result == 0 || report.result == VQ_E_FILE_LOCKED) << report.result;
    EXPECT_EQ("", report.summary(VQ_SEVERITY_ERROR));
    checked += report.result == 0 ? 1 : 0;
  }
  write_file(stop, "");
  EXPECT_EQ(0, child.wait());
  EXPECT_LT(0, checked);
  EXPECT_EQ("", group.check().summary());
}

}  // namespace
