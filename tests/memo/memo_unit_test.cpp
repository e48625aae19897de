// What the calls of the system show of memo operations: how many there are, and the lock.
#include <chrono>
#include <thread>

#include "platform/file.h"
#include "support/fault_plan.h"
#include "support/memo_files.h"
#include "table/locks.h"

namespace {

using Layout = MemoFile::Layout;

// A change counts as known once it is so old.
constexpr auto kBehindTheClock = std::chrono::milliseconds(25);

class MemoCalls : public ::testing::Test {
 protected:
  void create(Layout layout) { create_memos(block_, name_, layout); }

  template <typename Operation>
  std::uint64_t calls_of(Operation operation) {
    const FaultPlan plan(0, Verdict::fail, all_but(Call::allocate));
    EXPECT_EQ(0, operation());
    return plan.calls();
  }

  TemporaryFolder folder_;
  VqBlock block_ = memo_block(2);
  std::string name_ = folder_.file("T");
};

TEST_F(MemoCalls, alone_a_read_takes_at_most_two_and_a_new_memo_two) {
  for (const Layout layout : {Layout::dbase4, Layout::dbase3}) {
    create(layout);
    std::string small = kNoMemo, large = kNoMemo, text(8192, ' ');
    {
      MemoFile file(block_, name_, layout);
      const std::uint64_t writes = layout == Layout::dbase4 ? 2 : 1;
      EXPECT_EQ(writes, calls_of([&] { return file.write_new("small", small); }));
      EXPECT_EQ(writes, calls_of([&] { return file.write_new(std::string(8191, 'x'), large); }));
    }
    MemoFile file(block_, name_, layout);
    const auto get = layout == Layout::dbase4 ? lib.dTgetmm : lib.dTgetmm3;
    const auto read = [&](const std::string& reference) {
      std::int32_t length = 0;
      return get(file.handle(), reference.c_str(), 0, 8191, text.data(), &length, nullptr);
    };
    EXPECT_EQ(2u, calls_of([&] { return read(large); }));
    EXPECT_EQ(1u, calls_of([&] { return read(small); }));
  }
}

TEST_F(MemoCalls, alone_the_size_is_asked_for_once) {
  create(Layout::dbase4);
  MemoFile file(block_, name_);
  std::string small = kNoMemo, large = kNoMemo, text;
  ASSERT_EQ(0, file.write_new(std::string(504, 's'), small));
  ASSERT_EQ(0, file.write_new(std::string(9000, 'l'), large));
  EXPECT_EQ(2u, calls_of([&] { return file.read(large, text); }));
  EXPECT_EQ(1u, calls_of([&] { return file.read(small, text); }));
  // But never from memory when the file has changed.
  ASSERT_EQ(0, file.replace(std::string(9001, 'm'), large));
  ASSERT_EQ(0, file.read(large, text));
  EXPECT_EQ(std::string(9001, 'm'), text);
}

TEST_F(MemoCalls, alone_many_memos_read_in_a_row_take_few) {
  create(Layout::dbase4);
  std::vector<std::string> references(500, kNoMemo);
  const auto text_of = [](std::size_t i) {
    return std::string(1 + i * 7 % 600, static_cast<char>('a' + i % 26));
  };
  MemoFile file(block_, name_);
  for (std::size_t i = 0; i < references.size(); ++i) {
    ASSERT_EQ(0, file.write_new(text_of(i), references[i]));
  }
  const auto read_all = [&] {
    for (std::size_t i = 0; i < references.size(); ++i) {
      std::string text;
      EXPECT_EQ(0, file.read(references[i], text));
      EXPECT_EQ(text_of(i), text);
    }
    return 0;
  };
  EXPECT_GT(50u, calls_of(read_all));
}

TEST_F(MemoCalls, a_long_free_chain_is_read_many_runs_at_a_time) {
  create(Layout::dbase4);
  std::vector<std::string> references(300, kNoMemo);
  MemoFile file(block_, name_);
  for (std::string& reference : references) ASSERT_EQ(0, file.write_new("short", reference));
  for (std::string& reference : references) {
    ASSERT_EQ(0, file.replace(std::string(505, 'x'), reference));
  }
  for (const std::uint32_t mode : {0u, 2u}) {
    MemoFile again(block_, name_, Layout::dbase4, mode);
    const auto write = [&] {
      std::string reference = kNoMemo;
      return again.write_new(std::string(2000, 'l'), reference);
    };
    EXPECT_GT(30u, calls_of(write));
    EXPECT_GT(mode == 0 ? 3u : 30u, calls_of(write));
  }
}

TEST_F(MemoCalls, in_a_shared_mode_a_file_that_somebody_holds_is_refused_at_once) {
  for (const Layout layout : {Layout::dbase4, Layout::dbase3}) {
    create(layout);
    vqdb::platform::File holder;
    ASSERT_TRUE(holder.open(folder_.file("T.DBT"), vqdb::platform::Access::read_write).ok());
    MemoFile alone(block_, name_, layout, 0);
    std::string reference = kNoMemo, text;
    ASSERT_EQ(0, alone.write_new("text", reference));
    std::this_thread::sleep_for(kBehindTheClock);
    for (const std::uint32_t mode : {2u, 3u, 4u, 5u}) {
      MemoFile shared(block_, name_, layout, mode);
      EXPECT_EQ(0, shared.read(reference, text));
      ASSERT_TRUE(holder.lock(0xEFFFFFFE, 2).ok());
      EXPECT_EQ(VQ_E_FILE_LOCKED, shared.read(reference, text));
      EXPECT_EQ(10431, block_.detail);
      std::string other = kNoMemo;
      const bool reader = (mode & 1) != 0;
      EXPECT_EQ(reader ? VQ_E_READ_ONLY : VQ_E_FILE_LOCKED, shared.write_new("other", other));
      EXPECT_EQ(kNoMemo, other);
      ASSERT_TRUE(holder.unlock(0xEFFFFFFE, 2).ok());
      EXPECT_EQ(0, shared.read(reference, text));
      EXPECT_EQ("text", text);
      EXPECT_TRUE(holder.lock(0xEFFFFFFE, 2).ok()) << "the operation let go";
      ASSERT_TRUE(holder.unlock(0xEFFFFFFE, 2).ok());
    }
  }
}

TEST_F(MemoCalls, a_durable_flush_waits_until_the_device_has_the_memos) {
  const char* const fields[] = {"NOTES", "M"};
  for (const std::uint32_t dialect : {VQ_DIALECT_DBASE3, VQ_DIALECT_DBASE4}) {
    VqDatabase* database = nullptr;
    VqMember member = {};
    ASSERT_EQ(0, lib.DBinit(&block_, dialect));
    ASSERT_EQ(0, lib.DBcreat(&block_, name_.c_str(), 1, fields));
    ASSERT_EQ(0, lib.DBopen(&block_, name_.c_str(), 0, 1, VQ_SPECS_ARRAY, 0, nullptr, &database,
                            nullptr));
    ASSERT_EQ(0, lib.GRPmember(database, VQ_KIND_DBASE4_MEMO, nullptr, nullptr, &member));
    std::string reference = kNoMemo;
    auto* const memo = static_cast<VqMemo*>(member.handle);
    const bool dbase3 = dialect == VQ_DIALECT_DBASE3;
    ASSERT_EQ(0, dbase3 ? lib.dTputmm3(memo, "text", reference.data())
                        : lib.dTnewmm(memo, 0, 4, "text", reference.data()));
    for (const std::uint16_t flags : {std::uint16_t{0}, std::uint16_t{VQ_FLAG_DURABLE}}) {
      block_.runtime_flags = flags;
      const FaultPlan plan(1, Verdict::fail, only(Call::sync));
      EXPECT_EQ(flags == 0 ? 0 : VQ_E_IO, lib.DBmember_flush(&member));
      EXPECT_EQ(flags == 0 ? 0 : dbase3 ? 2273 : 2153, block_.detail);
      EXPECT_EQ(0, lib.DBflush(database)) << "the first call fails alone";
      EXPECT_EQ(flags == 0, plan.calls() == 0);
    }
    EXPECT_EQ(2u, read_le32(read_file(folder_.file("T.DBT")), 0));
    ASSERT_EQ(0, lib.DBclose(database));
  }
}

// A failure to let go of the lock counts when nothing else failed, and hides no earlier detail.
TEST_F(MemoCalls, a_failed_release_of_the_lock_is_told) {
  create(Layout::dbase4);
  std::string reference = kNoMemo;
  ASSERT_EQ(0, MemoFile(block_, name_).write_new("text", reference));
  MemoFile shared(block_, name_, Layout::dbase4, 2);
  const auto unlocks = only(Call::unlock);
  std::int32_t size = 0;
  {
    const FaultPlan plan(1, Verdict::fail, unlocks);
    EXPECT_NE(0, lib.dTmemosz(shared.handle(), reference.c_str(), &size));
    EXPECT_EQ(10433, block_.detail);
  }
  MemoFile other(block_, name_, Layout::dbase4, 2);
  shared.close();
  const FaultPlan plan(1, Verdict::fail, unlocks);
  EXPECT_EQ(VQ_E_RANGE, lib.dTmemosz(other.handle(), kNoMemo.c_str(), &size));
  EXPECT_EQ(10162, block_.detail);
}

// Another program that takes no lock adds a memo, or makes the last one longer, while this handle
// replaces a memo in place, and then this handle adds one.
TEST(MemoUnlocked, what_others_write_without_a_lock_beside_a_change_is_not_written_over) {
  const std::string foreign(100, 'F');
  for (const bool adds : {true, false}) {
    bool came = true;
    for (std::uint64_t n = 1; came; ++n) {
      SCOPED_TRACE(n);
      const TemporaryFolder folder;
      VqBlock block = memo_block(2);
      create_memos(block, folder.file("T"));
      const std::string path = folder.file("T.DBT");
      MemoFile file(block, folder.file("T"), MemoFile::Layout::dbase4, 2);
      std::string mine = kNoMemo, last = kNoMemo, next = kNoMemo;
      ASSERT_EQ(0, file.write_new("mine", mine));
      ASSERT_EQ(0, file.write_new("last", last));
      const auto write = [&] {
        write_bytes(path, (adds ? 3 : 2) * 512,
                    "\xFF\xFF\x08" + std::string(1, 0) + le32(8 + 100) + foreign);
        if (adds) write_bytes(path, 0, le32(4));
      };
      const auto beside = vqdb::testing::beside_another(
          n, [&] { return file.replace("Mine", mine); }, write);
      came = beside.struck;
      if (!came) break;
      ASSERT_EQ(0, beside.result);
      ASSERT_EQ(0, file.write_new("next", next));
      std::string got;
      EXPECT_EQ(0, file.read(reference_to(adds ? 3 : 2), got));
      EXPECT_EQ(foreign, got);
    }
  }
}

// Another handle changes a text between any two calls of a read that knows its beginning, or all of
// it: what is read is of one moment, and no older than the read.
TEST_F(MemoCalls, a_shared_read_beside_a_change_is_of_one_moment) {
  create(Layout::dbase4);
  MemoFile mine(block_, name_, Layout::dbase4, 2);
  MemoFile theirs(block_, name_, Layout::dbase4, 2);
  std::vector<std::string> references(9, kNoMemo);
  std::string written(9000, '0'), text;
  for (std::string& reference : references) ASSERT_EQ(0, theirs.write_new(written, reference));
  vqdb::platform::File place;
  ASSERT_TRUE(place.open(folder_.file("T.DBT"), vqdb::platform::Access::read_write).ok());
  int changes = 0;
  for (const std::size_t first : {8u, 0u}) {
    bool came = true;
    for (std::uint64_t n = 1; came; ++n) {
      SCOPED_TRACE(n);
      std::this_thread::sleep_for(kBehindTheClock);
      for (std::size_t i = first; i < 9; ++i) ASSERT_EQ(0, mine.read(references[i], text));
      EXPECT_EQ(written, text);
      const auto change_unless_locked = [&] {
        if (!ok(vqdb::table::test_whole_file(block_, place, 0))) return;
        written.assign(9000, static_cast<char>('a' + ++changes % 26));
        ASSERT_EQ(0, theirs.replace(written, references[8]));
      };
      const std::string before = written;
      const auto beside = beside_another(
          n, [&] { return mine.read(references[8], text); }, change_unless_locked);
      came = beside.struck;
      ASSERT_EQ(0, beside.result);
      EXPECT_TRUE(text == before || text == written) << text;
    }
  }
  EXPECT_LE(8, changes);
}

}  // namespace
