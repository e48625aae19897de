// Every call to the system fails once, in turn, in every operation that changes a table: the code
// says what failed, and nothing that was acknowledged is lost.
#include <sys/resource.h>

#include <csignal>

#include "support/fault_plan.h"
#include "table/scratch_table.h"

namespace {

using Records = std::vector<std::string>;

constexpr std::uint32_t kRecords = 150;   // two blocks and a bit
constexpr std::uint32_t kUnflushed = 54;  // as many as fill the third block
constexpr std::uint32_t kInserted = 130;  // in the second block

// All records of a table file as it stands; a test failure when it cannot be read.
Records records_in(const std::string& name) {
  VqBlock block = block_of_kind(1);
  OpenTable table(block, name, 1, 8);
  EXPECT_NE(nullptr, static_cast<VqTable*>(table)) << +block.result << " " << +block.detail;
  Records records;
  if (table == nullptr) return records;
  for (std::uint32_t i = 1; i <= record_count(table); ++i) {
    std::string record(ScratchTable::kRecordBytes, '?');
    EXPECT_EQ(0, lib.dDgetrec(table, i, record.data())) << i;
    records.push_back(record);
  }
  return records;
}

// What a crash would leave: a copy of the file, taken while the table is open.
Records records_after_crash(const ScratchTable& scratch) {
  const std::string copy = scratch.folder.file("CRASH.DBF");
  std::filesystem::copy_file(scratch.file, copy, std::filesystem::copy_options::overwrite_existing);
  return records_in(copy);
}

bool holds_all(const Records& records, const Records& wanted) {
  const std::multiset<std::string> held(records.begin(), records.end());
  return std::all_of(wanted.begin(), wanted.end(),
                     [&](const std::string& record) { return held.count(record) > 0; });
}

struct Operation {
  const char* name;
  std::uint32_t mode;
  std::int32_t buffers;
  std::uint16_t flags;
  std::function<std::int32_t(VqTable*)> run;
  std::function<void(Records&)> model;  // what success means
  std::vector<std::int32_t> results;    // that failures may have
  std::uint32_t touched = 0;            // record that a torn write may leave in pieces
  bool moves_records = false;           // on disk too, before it succeeds
  bool removes = false;
};

const std::string kNew = ScratchTable::record(90000);

void append_to(Records& records) { records.push_back(kNew); }

std::vector<Operation> operations() {
  const auto append = [](VqTable* t) { return lib.dDapprec(t, kNew.data()); };
  const auto append_fields = [](VqTable* t) { return lib.dDapprec(t, kNew.data() + 1); };
  const auto update = [](VqTable* t) { return lib.dDupdrec(t, 70, kNew.data()); };
  const auto overwrite = [](Records& records) { records[69] = kNew; };
  const auto set_deleted = [](VqTable* t) { return lib.dDdelrec(t, 70); };
  const auto insert = [](VqTable* t) { return lib.dDinsrec(t, kInserted, kNew.data()); };
  const auto remove = [](VqTable* t) { return lib.dDrmrec(t, 3); };
  const auto insert_new = [](Records& r) { r.insert(r.begin() + kInserted - 1, kNew); };
  const auto remove_third = [](Records& records) { records.erase(records.begin() + 2); };
  const auto flush = [](VqTable* t) { return lib.dDflush(t); };
  return {
      {"append, exclusive", 0, 1, 0, append, append_to, {-17}},
      {"append, mode 2", 2, 0, 0, append, append_to, {-17, -39, -40}},
      {"append, mode 2, fields only", 2, 2, 1, append_fields, append_to, {-17, -39, -40}},
      {"append, mode 4", 4, 2, 0, append, append_to, {-17, -39, -40}},
      {"update, exclusive", 0, 1, 0, update, overwrite, {-17}},
      {"update, mode 2", 2, 0, 0, update, overwrite, {-17, -36}, 70},
      {"update, mode 4", 4, 1, 0, update, overwrite, {-17, -36}, 70},
      {"delete, mode 4", 4, 1, 0, set_deleted, [](Records& r) { r[69][0] = '*'; }, {-17, -36}, 70},
      {"insert, one buffer", 0, 1, 0, insert, insert_new, {-17, -14}, 0, true},
      {"insert, many buffers", 0, 30, 0, insert, insert_new, {-17, -14}, 0, true},
      {"remove, one buffer", 0, 1, 0, remove, remove_third, {-17, -14}, 0, true, true},
      {"remove, two buffers", 0, 2, 0, remove, remove_third, {-17, -14}, 0, true, true},
      {"flush", 0, 5, 0, flush, [](Records&) {}, {-17}},
  };
}

// Runs the operation with its n-th call failing. False once there is no n-th call.
bool run_with_failure(const Operation& operation, std::uint64_t n, Verdict verdict, bool stays) {
  ScratchTable scratch;
  scratch.append(1, kRecords);
  Records flushed = records_in(scratch.file);
  Records acknowledged = flushed;
  scratch.block.runtime_flags = operation.flags;
  OpenTable table(scratch.block, scratch.name, operation.mode, operation.buffers);
  // In exclusive mode some acknowledged records wait in the buffers.
  for (std::uint32_t i = 1; operation.mode == 0 && i <= kUnflushed; ++i) {
    EXPECT_EQ(0, lib.dDapprec(table, ScratchTable::record(80000 + i).data()));
    acknowledged.push_back(ScratchTable::record(80000 + i));
  }
  scratch.block.detail = 0;
  bool struck = false;
  std::int32_t result = 0;
  {
    const FaultPlan plan(n, verdict, nullptr, stays);
    result = operation.run(table);
    struck = plan.struck();
  }
  // The record is in, but the append lock could not be given back.
  const bool done = result == 0 || result == -39;
  // Half a block may hold the record in question.
  const bool may_succeed = verdict == Verdict::cut_short;
  EXPECT_TRUE(result == 0 ? !struck || may_succeed : struck) << result;
  if (result != 0) {
    const auto& results = operation.results;
    EXPECT_NE(results.end(), std::find(results.begin(), results.end(), result)) << result;
    EXPECT_NE(0, +scratch.block.detail);
  }
  Records expected = acknowledged;
  if (done) operation.model(expected);
  Records on_disk = records_after_crash(scratch);
  if (operation.moves_records) {
    if (operation.removes) flushed.erase(flushed.begin() + 2);
    EXPECT_TRUE(holds_all(on_disk, flushed)) << "after a crash";
  } else {
    on_disk.resize(std::min(on_disk.size(), flushed.size()));
    if (operation.touched != 0) on_disk[operation.touched - 1] = flushed[operation.touched - 1];
    EXPECT_EQ(flushed, on_disk) << "after a crash";
  }

  EXPECT_EQ(0, table.close()) << "what could not be written is written later";
  Records kept = records_in(scratch.file);
  if (operation.moves_records && stays && !done) {
    Records wanted = acknowledged;
    if (operation.removes) wanted.erase(wanted.begin() + 2);
    EXPECT_TRUE(holds_all(kept, wanted));
  } else {
    if (operation.touched != 0 && !done) {
      kept[operation.touched - 1] = expected[operation.touched - 1];
    }
    EXPECT_EQ(expected, kept);
  }
  if (!stays) {
    const std::size_t end = ScratchTable::kHeaderBytes + kept.size() * ScratchTable::kRecordBytes;
    EXPECT_EQ("\x1A", read_file(scratch.file).substr(end, 1)) << "no end mark";
  }
  return struck;
}

TEST(TableFaults, no_failing_call_loses_an_acknowledged_record) {
  for (const Operation& operation : operations()) {
    for (const Verdict verdict : {Verdict::fail, Verdict::cut_short}) {
      for (const bool stays : {false, true}) {
        std::uint64_t n = 1;
        while (n < 1000 && run_with_failure(operation, n, verdict, stays)) {
          ASSERT_FALSE(HasFailure()) << operation.name << ", call " << n
                                     << (verdict == Verdict::fail ? " fails" : " cut short")
                                     << (stays ? ", and all after" : "");
          ++n;
        }
        EXPECT_GT(n, 1u) << operation.name << " makes no call";
      }
    }
  }
}

// Files end at so many bytes, as on a disk that is full: what lies before can still be written.
class FullDisk : NotCopied {
 public:
  explicit FullDisk(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    EXPECT_EQ(0, ::getrlimit(RLIMIT_FSIZE, &before_));
    const rlimit limit = {bytes, before_.rlim_max};
    EXPECT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &limit));
  }
  ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_ = {};
};

TEST(TableFaults, a_full_disk_keeps_every_record_that_is_whole) {
  constexpr std::uint32_t kFit = 700;
  for (const bool flushes : {false, true}) {
    for (const std::int32_t buffers : {3, 40}) {
      ScratchTable scratch;
      scratch.append(1, 10);
      Records expected;
      OpenTable table(scratch.block, scratch.name, 0, buffers);
      {
        const FullDisk disk(ScratchTable::kHeaderBytes + kFit * ScratchTable::kRecordBytes + 5);
        for (std::uint32_t i = 1; i <= 1000; ++i) {
          if (i > 10 && lib.dDapprec(table, ScratchTable::record(i).data()) != 0) break;
          expected.push_back(ScratchTable::record(i));
        }
        EXPECT_LE(kFit, expected.size());
        EXPECT_EQ(0, lib.dDupdrec(table, 2, kNew.data()));
        expected[1] = kNew;
        EXPECT_EQ(-17, flushes ? lib.dDflush(table) : table.close());
        EXPECT_EQ(242, +scratch.block.detail);
      }
      const Records first(expected.begin(), expected.begin() + kFit);
      EXPECT_EQ(first, flushes ? records_after_crash(scratch) : records_in(scratch.file));
      EXPECT_EQ("\x1A",
                read_bytes(scratch.file,
                           ScratchTable::kHeaderBytes + kFit * ScratchTable::kRecordBytes, 1));
      if (!flushes) continue;
      EXPECT_EQ(0, table.close()) << "with room again";
      EXPECT_EQ(expected, records_in(scratch.file));
    }
  }
}

TEST(TableFaults, what_no_longer_counts_is_cut_off_where_the_size_tells_the_count) {
  ScratchTable scratch(16), source;
  scratch.append(1, kRecords);
  source.append(1, 5);
  const auto count_by_size = [&] {
    return record_count(OpenTable(scratch.block, scratch.name, 2, 0));
  };
  {
    OpenTable table(scratch.block, scratch.name, 0, 5);
    for (std::uint32_t n = kRecords; n > kRecords - 10; --n) {
      EXPECT_EQ(0, lib.dDrmrec(table, n % 2 == 0 ? 3 : n));
    }
    for (int i = 0; i < 20; ++i) EXPECT_EQ(0, lib.dDapprec(table, kNew.data()));
    {
      const FaultPlan plan(1, Verdict::cut_short, only(Call::write));
      EXPECT_EQ(-17, lib.dDflush(table));
    }
    EXPECT_EQ(148u, count_by_size()) << "half of the last block, not what was removed behind";
    EXPECT_EQ(0, table.close());
    EXPECT_EQ(kRecords + 10, count_by_size());
  }
  OpenTable table(scratch.block, scratch.name, 2, 0);
  {
    const FaultPlan plan(2, Verdict::fail, only(Call::write));
    EXPECT_EQ(-17, lib.dDapprec(table, kNew.data()));
  }
  EXPECT_EQ(kRecords + 10, count_by_size());
  EXPECT_EQ(0, table.close());
  {
    OpenTable longer(source.block, source.name, 0, 1);
    EXPECT_EQ(0, lib.dDrmrec(longer, 1));
  }
  EXPECT_EQ(0, lib.dDcat(&scratch.block, scratch.name.c_str(), source.name.c_str()));
  EXPECT_EQ(kRecords + 14, count_by_size());
}

TEST(TableFaults, a_read_that_came_up_short_is_tried_again_by_the_next_append) {
  ScratchTable scratch;
  scratch.append(1, 100);
  OpenTable table(scratch.block, scratch.name, 0, 2);
  std::string out(ScratchTable::kRecordBytes, '?');
  {
    const FaultPlan plan(1, Verdict::cut_short);
    EXPECT_EQ(-17, lib.dDgetrec(table, 100, out.data()));
  }
  EXPECT_EQ(0, lib.dDapprec(table, kNew.data()));
  EXPECT_EQ(0, table.close());
  EXPECT_EQ(101u, records_in(scratch.file).size());
}

TEST(TableFaults, flag_4_forces_what_flush_and_close_write_to_the_device) {
  for (const std::uint32_t mode : {0u, 2u, 4u}) {
    for (const bool forced : {false, true}) {
      ScratchTable scratch;
      scratch.block.runtime_flags = forced ? VQ_FLAG_DURABLE : 0;
      OpenTable table(scratch.block, scratch.name, mode, 1);
      const auto syncs = [&](auto work) {
        const FaultPlan plan(0, Verdict::fail, only(Call::sync));
        EXPECT_EQ(0, work());
        return plan.calls();
      };
      EXPECT_EQ(0u, syncs([&] { return lib.dDapprec(table, kNew.data()); }));
      EXPECT_EQ(forced ? 1u : 0u, syncs([&] { return lib.dDflush(table); }));
      {
        const FaultPlan plan(1, Verdict::fail, only(Call::sync));
        EXPECT_EQ(forced ? -17 : 0, lib.dDflush(table));
        EXPECT_EQ(forced ? 244 : 0, +scratch.block.detail);
      }
      EXPECT_EQ(forced ? 1u : 0u, syncs([&] { return table.close(); }));
    }
  }
}

TEST(TableFaults, no_more_files_is_told_from_a_failing_device) {
  const ScratchTable scratch;
  VqBlock block = block_of_kind(1);
  rlimit before = {};
  ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before));
  const rlimit none = {3, before.rlim_max};
  ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
  const VqTable* const table = lib.dDopen(&block, scratch.name.c_str(), 0, 1);
  ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &before));
  EXPECT_EQ("-18/10422", refusal(table, block));
}

TEST(TableFaults, details_name_the_step) {
  struct Case {
    const char* what;
    std::uint32_t mode;
    std::int32_t buffers;
    std::uint16_t flags;
    Call call;
    std::uint64_t n;
    std::function<std::int32_t(VqTable*)> run;
    std::int32_t result, detail;
  };
  static std::string out(ScratchTable::kRecordBytes, ' ');
  const auto get = [](VqTable* t) { return lib.dDgetrec(t, 1, out.data()); };
  const auto status = [](VqTable* t) { return lib.dDrecsta(t, 1); };
  const auto append = [](VqTable* t) { return lib.dDapprec(t, out.data()); };
  const auto update = [](VqTable* t) { return lib.dDupdrec(t, 1, out.data()); };
  const auto flush = [](VqTable* t) { return lib.dDflush(t); };
  const auto append_and_flush = [](VqTable* t) {
    const std::int32_t result = lib.dDapprec(t, out.data());
    return result != 0 ? result : lib.dDflush(t);
  };
  const auto update_and_read = [](VqTable* t) {
    const std::int32_t result = lib.dDupdrec(t, 1, out.data());
    return result != 0 ? result : lib.dDgetrec(t, 140, out.data());
  };
  const auto fill_block = [](VqTable* t) {
    std::int32_t result = 0;
    while (result == 0 && lib.dDfields(t) != 0) result = lib.dDapprec(t, out.data());
    return result;
  };
  const Case cases[] = {
      {"read from a buffer", 0, 1, 0, Call::read, 1, get, -17, 10063},
      {"read from the file", 2, 0, 0, Call::read, 1, get, -17, 264},
      {"read from the file, fields only", 2, 1, 1, Call::read, 1, get, -17, 265},
      {"flag from the file", 2, 1, 0, Call::read, 1, status, -17, 384},
      {"count at an append", 2, 0, 0, Call::read, 1, append, -17, 423},
      {"append lock", 4, 1, 0, Call::lock, 1, append, -40, 325},
      {"append unlock", 4, 1, 0, Call::unlock, 1, append, -39, 353},
      {"record", 2, 0, 0, Call::write, 1, append, -17, 331},
      {"header", 2, 0, 0, Call::write, 2, append, -17, 335},
      {"block with the last record", 0, 1, 0, Call::read, 1, append, -17, 10063},
      {"a full block makes room", 0, 1, 0, Call::write, 1, fill_block, -17, 341},
      {"overwrite", 2, 0, 0, Call::write, 1, update, -17, 467},
      {"record lock test", 2, 0, 0, Call::lock, 1, update, -36, 10454},
      {"a changed block makes room", 0, 1, 0, Call::write, 1, update_and_read, -17, 10061},
      {"flush of a block", 0, 1, 0, Call::write, 1, append_and_flush, -17, 242},
      {"flush of the header", 0, 1, 0, Call::write, 2, append_and_flush, -17, 243},
      {"nothing to flush", 0, 1, 0, Call::write, 1, flush, 0, 0},
      {"lock a file", 2, 0, 0, Call::lock, 1, lib.dDlkfil, -40, 485},
      {"lock a file's records", 2, 0, 0, Call::lock, 3, lib.dDlkfil, -40, 485},
      {"memory for the locks", 2, 0, 0, Call::allocate, 1, lib.dDlkfil, -14, 486},
      {"lock a record", 2, 0, 0, Call::lock, 1, [](VqTable* t) { return lib.dDlkrec(t, 1); }, -40,
       507},
      {"memory for a lock", 2, 0, 0, Call::allocate, 1,
       [](VqTable* t) { return lib.dDlkrec(t, 1); }, -14, 506},
      {"unlock", 2, 0, 0, Call::unlock, 1,
       [](VqTable* t) { return lib.dDlkrec(t, 1) + lib.dDpoplk(t); }, -39, 494},
      {"memory to insert", 0, 1, 0, Call::allocate, 1,
       [](VqTable* t) { return lib.dDinsrec(t, 1, out.data()); }, -14, 275},
      {"memory to remove", 0, 1, 0, Call::allocate, 1, [](VqTable* t) { return lib.dDrmrec(t, 1); },
       -14, 405},
      {"closing", 0, 1, 0, Call::close, 1, lib.dDclose, -17, 306},
  };
  for (const Case& c : cases) {
    ScratchTable scratch;
    scratch.append(1, 150);
    scratch.block.runtime_flags = c.flags;
    VqTable* const table = lib.dDopen(&scratch.block, scratch.name.c_str(), c.mode, c.buffers);
    {
      const FaultPlan plan(c.n, Verdict::fail, only(c.call));
      EXPECT_EQ(c.result, c.run(table)) << c.what;
    }
    EXPECT_EQ(c.detail, +scratch.block.detail) << c.what;
    EXPECT_EQ(c.detail == 306 ? -10 : 0, lib.dDclose(table)) << c.what;
  }
}

}  // namespace
