// Every call to the system fails, in turn, while tables are packed and joined: the old table or the
// new one is there, whole, and no other file.

#include "support/fault_plan.h"
#include "table/scratch_table.h"

namespace {

constexpr std::uint32_t kRecords = 2500;  // more than three transfers

// A failed removal of what is left over is nobody's fault.
const FaultPlan::Filter kCounts = all_but(Call::remove);

TEST(MaintenanceFaults, pack_leaves_the_old_table_or_the_packed_one) {
  ScratchTable scratch;
  lib.dUtmpdir(&scratch.block, scratch.folder.path().string().c_str());
  scratch.append(1, kRecords);
  std::string packed;
  {
    OpenTable table(scratch.block, scratch.name, 0, 4);
    for (std::uint32_t i = 1; i <= kRecords; ++i) {
      if (i % 4 != 0) packed += ScratchTable::record(i);
      EXPECT_EQ(0, i % 4 != 0 ? 0 : lib.dDdelrec(table, i));
    }
  }
  const std::string before = read_file(scratch.file);
  std::set<std::int32_t> details;
  for (const Verdict verdict : {Verdict::fail, Verdict::cut_short}) {
    bool strikes = true;
    for (std::uint64_t n = 1; strikes && n < 300; ++n) {
      SCOPED_TRACE(n);
      write_file(scratch.file, before);
      const auto [result, struck] = under_fault(
          n, verdict, [&] { return lib.dDpack(&scratch.block, scratch.name.c_str()); }, kCounts);
      strikes = struck;
      const std::string after = read_file(scratch.file);
      if (result != 0) {
        EXPECT_TRUE(struck);
        EXPECT_EQ(before, after);
        details.insert(scratch.block.detail);
      } else {
        EXPECT_EQ(packed + "\x1A", after.substr(ScratchTable::kHeaderBytes));
      }
      ASSERT_EQ(1u, scratch.folder.list().size());
      ASSERT_FALSE(HasFailure());
    }
    EXPECT_FALSE(strikes);
  }
  EXPECT_TRUE(std::ranges::includes(details, std::set{242, 243, 291, 292, 293, 294, 10047, 10063}));
}

bool join_with_failure(std::uint64_t n, Verdict verdict, bool has_target,
                       std::set<std::int32_t>& details) {
  ScratchTable target;
  ScratchTable source;
  source.append(1, kRecords);
  const std::string added = read_file(source.file).substr(ScratchTable::kHeaderBytes);
  std::string before;
  if (has_target) {
    target.append(1, 10);
    before = read_file(target.file);
  } else {
    std::filesystem::remove(target.file);
  }
  Call struck_call = Call::open;
  std::uint64_t calls_seen = 0;
  const auto [result, struck] = under_fault(
      n, verdict,
      [&] { return lib.dDcat(&target.block, target.name.c_str(), source.name.c_str()); },
      [&](Call call) {
        if (kCounts(call) && ++calls_seen == n) struck_call = call;
        return kCounts(call);
      });
  const std::size_t start = ScratchTable::kHeaderBytes;
  const std::size_t kept = has_target ? 10 * ScratchTable::kRecordBytes : 0;
  const bool closing_failed =
      has_target && struck_call == Call::close && target.block.detail == 353;
  if (result == 0 || closing_failed) {
    EXPECT_EQ(before.substr(has_target ? start : 0, kept) + added,
              read_file(target.file).substr(start));
  } else {
    EXPECT_EQ(has_target ? 1u : 0u, target.folder.list().size());
    // Only when restoring it fails as well may the end mark be lacking.
    const std::size_t sound = before.size() - (target.block.detail == 352 ? 1 : 0);
    EXPECT_EQ(before.substr(0, sound), has_target ? read_file(target.file).substr(0, sound) : "");
  }
  if (result != 0) details.insert(target.block.detail);
  return struck;
}

TEST(MaintenanceFaults, join_leaves_the_target_as_it_was_or_complete) {
  std::set<std::int32_t> details;
  for (const bool has_target : {true, false}) {
    for (const Verdict verdict : {Verdict::fail, Verdict::cut_short}) {
      std::uint64_t n = 1;
      while (n < 300 && join_with_failure(n, verdict, has_target, details)) {
        ASSERT_FALSE(HasFailure()) << "call " << n << (has_target ? "" : " of a copy");
        ++n;
      }
      EXPECT_GT(n, 8u);
    }
  }
  EXPECT_TRUE(std::ranges::includes(
      details, std::set{341, 342, 343, 344, 345, 346, 347, 348, 349, 350, 353, 357, 358}));
}

TEST(MaintenanceFaults, an_end_mark_that_cannot_be_restored_is_told) {
  ScratchTable target;
  ScratchTable source;
  target.append(1, 10);
  source.append(1, 10);
  const FaultPlan plan(1, Verdict::fail, only(Call::write), true);
  EXPECT_EQ("-17/352", codes(lib.dDcat(&target.block, target.name.c_str(), source.name.c_str()),
                             target.block));
}

TEST(MaintenanceFaults, details_of_detaching) {
  for (const auto& [call, detail] : {std::pair{Call::read, 101}, {Call::write, 104}}) {
    ScratchTable scratch;
    write_bytes(scratch.file, 28, "\x01");
    const FaultPlan plan(1, Verdict::fail, only(call));
    EXPECT_EQ(codes(-17, detail),
              codes(lib.dDapart(&scratch.block, scratch.name.c_str()), scratch.block));
  }
}

}  // namespace
