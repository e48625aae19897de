// How many calls of the system records cost.

#include <list>

#include "support/fault_plan.h"
#include "table/scratch_table.h"

namespace {

constexpr std::uint32_t kRecords = 6800;  // a hundred blocks
const std::string kRecord = ScratchTable::record(1);

std::uint64_t calls_of(const std::function<void()>& work) {
  const FaultPlan plan(0);
  work();
  return plan.calls();
}

void read_all(VqTable* table) {
  std::string out(ScratchTable::kRecordBytes, '?');
  for (std::uint32_t i = 1; i <= kRecords; ++i) {
    ASSERT_EQ(0, lib.dDgetrec(table, i, out.data()));
    ASSERT_EQ(ScratchTable::record(i), out);
  }
}

TEST(Calls, reading_in_order_takes_one_a_block_or_less_and_none_when_cached) {
  struct Case {
    std::int32_t buffers;
    std::uint64_t first, again;
  };
  // Sixteen blocks go into one transfer, and at most half of the buffers.
  for (const Case& c : {Case{1, 100, 100}, {4, 50, 50}, {32, 7, 7}, {100, 7, 0}, {5000, 7, 0}}) {
    ScratchTable scratch;
    scratch.append(1, kRecords);
    OpenTable table(scratch.block, scratch.name, 0, c.buffers);
    EXPECT_EQ(c.first, calls_of([&] { read_all(table); })) << c.buffers;
    EXPECT_EQ(c.again, calls_of([&] { read_all(table); })) << c.buffers;
  }
}

TEST(Calls, the_block_used_longest_ago_makes_room) {
  // So many buffers and steps that the order is worked out often and the clock comes round.
  for (const auto& [buffers, steps] : {std::pair{1u, 1000}, {2u, 1000}, {3u, 1000}, {200u, 9000}}) {
    ScratchTable scratch;
    scratch.append(1, (4 * buffers + 8) * ScratchTable::kRecordsPerBlock);
    OpenTable table(scratch.block, scratch.name, 0, static_cast<std::int32_t>(buffers));
    std::list<std::uint32_t> cached;  // the block used last in front
    std::uint64_t misses = 0;
    std::mt19937 random(3);
    const auto read = [&, buffers = buffers, steps = steps] {
      for (int i = 0; i < steps; ++i) {
        const auto most = random() % (2 * buffers + 2) + 1;
        // Every other block, as those in order are read ahead.
        const auto block = static_cast<std::uint32_t>(3 + 2 * (random() % most));
        std::string out(ScratchTable::kRecordBytes, '?');
        const std::uint32_t recno = (block - 1) * ScratchTable::kRecordsPerBlock + 1;
        ASSERT_EQ(0, lib.dDgetrec(table, recno, out.data()));
        if (std::find(cached.begin(), cached.end(), block) == cached.end()) ++misses;
        cached.remove(block);
        cached.push_front(block);
        if (cached.size() > buffers) cached.pop_back();
      }
    };
    const std::uint64_t calls = calls_of(read);
    EXPECT_EQ(misses, calls) << buffers;
  }
}

// Reads of one record each from many blocks are not the last word on what is kept.
TEST(Calls, after_records_here_and_there_blocks_are_kept_again) {
  for (std::uint16_t skip = 0; skip < 2; ++skip) {
    ScratchTable scratch;
    scratch.append(1, kRecords);
    scratch.block.runtime_flags = skip;
    OpenTable table(scratch.block, scratch.name, 0, 8);
    std::map<std::uint32_t, std::string> changed;
    const auto read = [&](std::uint32_t recno) {
      const auto found = changed.find(recno);
      const auto& is = found != changed.end() ? found->second : ScratchTable::record(recno);
      std::string out(ScratchTable::kRecordBytes - skip, '?');
      ASSERT_EQ(0, lib.dDgetrec(table, recno, out.data()));
      ASSERT_EQ(is.substr(skip), out);
    };
    const auto scatter = [&] {
      for (std::uint32_t i = 1; i <= 200; ++i) read(i * 37 % 100 * 68 + i % 68 + 1);
    };
    EXPECT_EQ(200u, calls_of(scatter));
    EXPECT_GE(2u, calls_of([&] {
                for (std::uint32_t i = 1; i <= 68; ++i) read(68 * 50 + i);
              }));
    scatter();
    EXPECT_GT(25u, calls_of([&] {
                for (std::uint32_t i = 1; i <= 400; ++i) read(i * i % 5 * 1000 + 7);
              }));
    for (std::uint32_t i = 1; i < kRecords; i += 97) {
      scatter();
      changed[i] = ScratchTable::record(kRecords + i);
      ASSERT_EQ(0, lib.dDupdrec(table, i, changed[i].data() + skip));
      read(i);
    }
    scatter();
    std::filesystem::resize_file(scratch.file, 97 + 68 * 98 * ScratchTable::kRecordBytes + 5);
    std::string out(ScratchTable::kRecordBytes, '?');
    EXPECT_EQ("-17/10064", codes(lib.dDgetrec(table, 68 * 98 + 1, out.data()), scratch.block));
  }
}

TEST(Calls, blocks_read_ahead_and_never_used_make_room_before_any_that_was) {
  ScratchTable scratch;
  scratch.append(1, kRecords);
  OpenTable table(scratch.block, scratch.name, 0, 8);
  // 1 and 29 bring three blocks behind them, which go for 28 and 29, and for 40, 42 and 44.
  const auto read = [&](std::initializer_list<std::uint32_t> blocks) {
    std::string out(ScratchTable::kRecordBytes, '?');
    for (const std::uint32_t block : blocks) {
      const std::uint32_t recno = (block - 1) * ScratchTable::kRecordsPerBlock + 1;
      ASSERT_EQ(0, lib.dDgetrec(table, recno, out.data()));
    }
  };
  EXPECT_EQ(10u, calls_of([&] { read({1, 20, 22, 24, 26, 28, 29, 40, 42, 44}); }));
  EXPECT_EQ(0u, calls_of([&] { read({22, 24, 26, 28, 29}); }));
}

TEST(Calls, changed_blocks_are_written_together) {
  ScratchTable scratch;
  OpenTable table(scratch.block, scratch.name, 0, 40);
  const auto append_all = [&] {
    for (std::uint32_t i = 1; i <= kRecords; ++i) {
      ASSERT_EQ(0, lib.dDapprec(table, ScratchTable::record(i).data()));
    }
    ASSERT_EQ(0, lib.dDflush(table));
  };
  EXPECT_LE(calls_of(append_all), 100u / 16 + 4u) << "with the header";
  // Every other block, in an order that eviction does not follow.
  const auto update_some = [&] {
    for (std::uint32_t i = 1; i <= 20; ++i) {
      ASSERT_EQ(0, lib.dDdelrec(table, (i * 7 % 20) * 2 * ScratchTable::kRecordsPerBlock + 1));
    }
    ASSERT_EQ(0, lib.dDflush(table));
  };
  EXPECT_LE(calls_of(update_some), 20u + 20u + 1u) << "with a look whether the file is in place";
  EXPECT_EQ(0u, calls_of([&] { lib.dDflush(table); }));
}

TEST(Calls, shared_operations_take_their_steps_and_no_more) {
  struct Case {
    std::uint32_t mode, scheme;
    std::int32_t buffers;
    std::uint64_t append, update, locked_update, read, group_update;
  };
  // Append: lock, a look at the file's lock, count, size, record with end mark, header, unlock.
  // Update: a look at the record's and the file's locks, size, record.
  // Update by a group: lock, a look at the file's lock, size, record, unlock.
  for (const Case& c : {Case{2, 0, 0, 7, 4, 2, 1, 5},
                        {2, 2, 3, 6, 4, 2, 1, 5},
                        {4, 3, 3, 7, 4, 2, 0, 5},
                        {2, 4, 0, 4, 2, 2, 1, 2}}) {
    ScratchTable scratch;
    scratch.append(1, 100);
    scratch.block.index_kind = c.scheme;
    OpenTable table(scratch.block, scratch.name, c.mode, c.buffers);
    std::string out(ScratchTable::kRecordBytes, '?');
    ASSERT_EQ(0, lib.dDgetrec(table, 5, out.data()));
    EXPECT_EQ(c.read, calls_of([&] { lib.dDgetrec(table, 5, out.data()); }));
    EXPECT_EQ(c.append, calls_of([&] { lib.dDapprec(table, kRecord.data()); }));
    EXPECT_EQ(c.update, calls_of([&] { lib.dDupdrec(table, 5, kRecord.data()); }));
    lib.dDlkrec(table, 5);
    EXPECT_EQ(c.locked_update, calls_of([&] { lib.dDupdrec(table, 5, kRecord.data()); }));
    VqDatabase* group = nullptr;
    ASSERT_EQ(0, lib.DBuse(&scratch.block, scratch.name.c_str(), c.mode, &group));
    ASSERT_EQ(0, lib.DBupdrec(group, 6, kRecord.data()));  // takes memory for locks
    EXPECT_EQ(c.group_update, calls_of([&] { lib.DBupdrec(group, 6, kRecord.data()); }));
    EXPECT_EQ(0, lib.DBclose(group));
  }
}

}  // namespace
