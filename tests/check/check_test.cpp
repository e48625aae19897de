
#include <chrono>
#include <thread>

#include "support/checked_group.h"
#include "support/memo_files.h"

namespace {

const std::string kTable = "ITEMS.DBF", kMemo = "ITEMS.DBT";
// The first entry of BYNAME's root, and how far the next one is.
constexpr std::size_t kRoot = 3 * 512 + 4;
constexpr std::size_t kStride = 98;

TEST(Check, finds_nothing_in_files_that_the_library_wrote) {
  for (const std::uint32_t kind : {1U, 2U, 4U, 7U}) {
    SCOPED_TRACE(kind);
    CheckedGroup group(kind);
    group.create();
    EXPECT_EQ("", group.check().summary(VQ_SEVERITY_NOTE)) << "empty";
    group.fill(60);
    Report report = group.check();
    EXPECT_EQ(0, report.result);
    EXPECT_EQ("", report.summary(VQ_SEVERITY_NOTE));
    // Changed keys, deleted records, memos that moved and were given back.
    VqDatabase* const database = group.open(2);
    for (std::uint32_t recno = 1; recno <= 60; recno += 2) {
      ASSERT_EQ(0, lib.DBupdrec(database, recno, group.record(database, 61 + recno).data()));
      ASSERT_EQ(0, lib.DBdelrec(database, recno + 1));
    }
    ASSERT_EQ(0, lib.DBclose(database));
    report = group.check();
    EXPECT_EQ(0, report.result);
    EXPECT_EQ("", report.summary());
  }
}

TEST(Check, names_what_was_damaged) {
  const struct {
    const char* what;
    std::string file;
    std::size_t offset;
    std::string bytes, found;
  } cases[] = {
      {"version of another system", kTable, 0, "\x02", "102 r0 p0 ITEMS.DBF\n"},
      {"version without memo file", kTable, 0, "\x03", "124 r0 p0 ITEMS.DBF\n"},
      {"version of the other layout", kTable, 0, "\x83", "124 r0 p0 ITEMS.DBF\n"},
      {"encrypted", kTable, 15, "\x01", "103 r0 p0 ITEMS.DBF\n"},
      {"month", kTable, 2, "\x0D", "107 r0 p0 ITEMS.DBF\n"},
      {"count", kTable, 4, "\x0D", "113 r0 p0 ITEMS.DBF\n"},
      {"count", kTable, 4, "\x0A", "114 r0 p0 ITEMS.DBF\n"},
      {"header length", kTable, 8, "\x01", "104 r0 p0 ITEMS.DBF\n"},
      {"record length", kTable, 10, "\x01", "105 r0 p0 ITEMS.DBF\n"},
      {"field name", kTable, 64, "NAME", "108 r0 p0 ITEMS.DBF\n"},
      {"field letters", kTable, 64, "Q-", "109 r0 p0 ITEMS.DBF\n"},
      {"field type", kTable, 64 + 11, "?", "110 r0 p0 ITEMS.DBF\n"},
      {"field length", kTable, 128 + 16, "\x02", "105 r0 p0 ITEMS.DBF\n111 r0 p0 ITEMS.DBF\n"},
      {"end of the fields", kTable, CheckedGroup::kHeaderBytes - 1, "X", "112 r0 p0 ITEMS.DBF\n"},
      {"end mark", kTable, CheckedGroup::at(13, 0), "X", "115 r0 p0 ITEMS.DBF\n"},
      {"deletion flag", kTable, CheckedGroup::at(3, 0), "-", "118 r3 p0 ITEMS.DBF\n"},
      {"number", kTable, CheckedGroup::at(4, 12), "1x", "119 r4 p0 ITEMS.DBF\n321 r4"},
      {"date", kTable, CheckedGroup::at(5, 19), "20240230", "119 r5 p0 ITEMS.DBF\n"},
      {"truth", kTable, CheckedGroup::at(6, 27), "X", "119 r6 p0 ITEMS.DBF\n"},
      {"reference behind the file", kTable, CheckedGroup::at(2, 28), "0000009999",
       "120 r2 p0 ITEMS.DBF\n"},
      {"reference of another record", kTable, CheckedGroup::at(2, 28), "0000000001",
       "121 r2 p0 ITEMS.DBF\n"},
      {"block size", kMemo, 20, "\x01", "202 r0 p0 ITEMS.DBT\n"},
      {"chain", kMemo, 0, "\x02", "203 r0 p2 ITEMS.DBT\n"},
      {"chain end", kMemo, 2, "\xFF", "205 r0 p1671168"},
      {"memo", kMemo, 512, "n", "206 r1 p1 ITEMS.DBT\n"},
      {"long memo", kMemo, 512 + 6, "\x01", "207 r1 p1 ITEMS.DBT\n"},
      {"memo over the next", kMemo, 512 + 5, "\x02", "208 r1 p1 ITEMS.DBT\n"},
      {"header", "BYNAME.NDX", 12, "\xFF", "302 r0 p0 BYNAME.NDX\n"},
      {"unique flag", "BYQTY.NDX", 23, std::string(1, '\0'), "303 r0 p0 BYQTY.NDX\n"},
      {"expression", "BYNAME.NDX", 24, "+", "304 r0 p0 BYNAME.NDX\n"},
      {"type", "BYNAME.NDX", 24, std::string("PAID", 5), "305 r0 p0 BYNAME.NDX\n"},
      {"key", "BYDUE.NDX", 512 + 4 + 16 + 8 + 5, "\x40", "310"},
      {"key that is no number", "BYDUE.NDX", 512 + 4 + 8 + 6, "\xF8\x7F", "310"},
      {"key of a unique index", "BYQTY.NDX", 512 + 4 + 16 + 8,
       std::string("\0\0\0\0\0\0\xF8\x3F", 8), "314 r0 p1 BYQTY.NDX\n"},
      {"record number", "BYQTY.NDX", 512 + 4 + 4, "\x63", "313 r99 p1 BYQTY.NDX\n"},
      {"count", "BYQTY.NDX", 512, "\xFF", "308 r0 p1 BYQTY.NDX\n"},
      {"child outside", "BYNAME.NDX", kRoot, "\x09", "306 r0 p9 BYNAME.NDX\n"},
      {"child of another", "BYNAME.NDX", kRoot + kStride, "\x01", "307 r0 p1 BYNAME.NDX\n"},
      {"separators", "BYNAME.NDX", kRoot + 8, "t", "310 r0 p3 BYNAME.NDX\n"},
      {"separator", "BYNAME.NDX", kRoot + 8, "h", "311 r0 p1 BYNAME.NDX\n"},
      {"no separators", "BYNAME.NDX", 3 * 512, std::string(1, '\0'), "308 r0 p3 BYNAME.NDX\n"},
      {"empty leaf", "BYNAME.NDX", 4 * 512, std::string(1, '\0'), "312 r0 p4 BYNAME.NDX\n"},
  };
  for (const auto& damage : cases) {
    SCOPED_TRACE(damage.what);
    CheckedGroup group;
    group.create();
    group.fill();
    write_bytes(group.file(damage.file), damage.offset, damage.bytes);
    const Report report = group.check();
    EXPECT_EQ(damage.found, report.summary().substr(0, damage.found.size()));
    EXPECT_EQ(report.summary(VQ_SEVERITY_ERROR).empty(), report.result == 0);
  }
}

TEST(Check, looks_into_the_chain_of_a_memo_file) {
  const auto run = [](std::uint32_t link, std::uint32_t blocks) {
    return little_endian(link, 4) + little_endian(blocks, 4);
  };
  // Block 8 is the second of the last memo.
  const struct {
    std::size_t bytes;  // that the file is cut off behind
    std::uint32_t first;
    std::vector<std::pair<std::size_t, std::string>> runs;
    const char* found;
  } cases[] = {
      {10, 9, {}, "201 r0 p0 ITEMS.DBT\n"},
      {20 * 512, 8, {{8, run(20, 1)}}, "204 r0 p8 ITEMS.DBT\n"},
      {20 * 512, 9, {{9, run(10, 3)}, {10, run(20, 1)}}, "204 r0 p10 ITEMS.DBT\n"},
      {20 * 512, 9, {{9, run(12, 1)}, {12, run(10, 2)}, {10, run(20, 1)}}, ""},
      {20 * 512, 9, {{9, run(9, 1)}}, "203 r0 p9 ITEMS.DBT\n"},
      {20 * 512, 9, {{9, run(20, 12)}}, "203 r0 p9 ITEMS.DBT\n"},
      {9 * 512 + 4, 9, {}, "203 r0 p9 ITEMS.DBT\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    CheckedGroup group;
    group.create();
    group.fill();
    const std::string memo = group.file(kMemo);
    std::filesystem::resize_file(memo, c.bytes);
    write_bytes(memo, 0, little_endian(c.first, 4));
    for (const auto& [block, bytes] : c.runs) write_bytes(memo, block * 512, bytes);
    const std::string found = group.check().summary();
    EXPECT_TRUE(*c.found == '\0' ? found.empty() : found.find(c.found) != std::string::npos)
        << found;
  }
}

TEST(Check, of_indexes_that_the_host_names) {
  CheckedGroup group;
  group.create();
  group.fill();
  const std::string dues = group.file("BYDUE.NDX"), none = group.file("NONE");
  const struct {
    std::uint32_t kind;
    const char* name;
    std::int32_t result;
    const char* found;
  } cases[] = {{VQ_KIND_NDX3, dues.c_str(), 0, ""},
               {VQ_KIND_NDX, none.c_str(), 1, "401 r0 p0 NONE.NDX\n"},
               {VQ_KIND_FOXIDX, dues.c_str(), 0, "403 r0 p0 BYDUE.NDX\n"},
               {VQ_KIND_TABLE, dues.c_str(), VQ_E_UNKNOWN_KIND, ""},
               {VQ_KIND_NDX, nullptr, VQ_E_RANGE, ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const VqIndexDef index = {c.kind, c.name, nullptr, nullptr, nullptr, 0};
    const VqCheckOptions options = {0, 1, &index, nullptr, nullptr};
    const Report report = group.check(&options);
    EXPECT_EQ(c.result, report.result);
    EXPECT_EQ(c.found, report.summary(VQ_SEVERITY_NOTE));
  }
}

TEST(Check, compares_each_key_with_its_record) {
  struct Case {
    const char* what;
    std::size_t index;
    void (*change)(VqIndex*);
    const char* found;
  };

  static constexpr double kFirst = 1.5;
  static constexpr double kOther = 77;
  const Case cases[] = {
      {"missing", 2, [](VqIndex* index) { ASSERT_EQ(0, lib.dNrmkey(index, &kFirst, 1)); },
       "321 r1 p0 BYQTY.NDX\n"},
      {"another record", 2,
       [](VqIndex* index) {
         ASSERT_EQ(0, lib.dNrmkey(index, &kFirst, 1));
         ASSERT_EQ(0, lib.dNputkey(index, &kFirst, 2));
       },
       "322 r2 p1 BYQTY.NDX\n321 r1 p0 BYQTY.NDX\n"},
      {"too many", 2, [](VqIndex* index) { ASSERT_EQ(0, lib.dNputkey(index, &kOther, 3)); },
       "322 r3 p1 BYQTY.NDX\n"},
      {"no such record", 2, [](VqIndex* index) { ASSERT_EQ(0, lib.dNputkey(index, &kOther, 13)); },
       "313 r13 p1 BYQTY.NDX\n"},
      {"twice", 1,
       [](VqIndex* index) {
         double first = 0;
         std::uint32_t recno = 0;
         ASSERT_EQ(0, lib.dNnxtkey(index, &first, &recno));
         ASSERT_EQ(1U, recno);
         ASSERT_EQ(0, lib.dNputkey(index, &first, recno));
       },
       "323 r1 p1 BYDUE.NDX\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CheckedGroup group;
    group.create();
    group.fill();
    VqTable* const table = lib.dDopen(&group.block, group.table().c_str(), 0, 1);
    VqIndex* const index = lib.dNopen(table, group.index_names[c.index].c_str(), 0, 4);
    c.change(index);
    ASSERT_EQ(0, lib.dNclose(index));
    ASSERT_EQ(0, lib.dDclose(table));
    EXPECT_EQ(c.found, group.check().summary());
    const VqCheckOptions form = {VQ_CHECK_FORM, 0, nullptr, nullptr, nullptr};
    EXPECT_EQ("", group.check(&form).summary());
    // The file by itself, and with its table.
    EXPECT_EQ("", run_check(lib.dNcheck, group.block, group.index_names[c.index]).summary());
    const std::string name = group.table();
    const VqCheckOptions with_table = {0, 0, nullptr, name.c_str(), nullptr};
    EXPECT_EQ(
        c.found,
        run_check(lib.dNcheck, group.block, group.index_names[c.index], &with_table).summary());
  }
}

TEST(Check, tells_missing_files_from_what_it_could_not_do) {
  CheckedGroup group;
  EXPECT_EQ(VQ_E_NOT_FOUND, group.check().result);
  group.create();
  group.fill();
  std::filesystem::remove(group.file("BYDUE.NDX"));
  std::filesystem::remove(group.file(kMemo));
  const Report report = group.check();
  EXPECT_EQ("401 r0 p0 BYDUE.NDX\n122 r1 p0 ITEMS.DBF\n", report.summary());
  EXPECT_EQ(2, report.result);
  EXPECT_EQ(2, lib.DBcheck(&group.block, group.table().c_str(), nullptr, nullptr, nullptr));

  Report one;
  one.stop_after = 1;
  EXPECT_EQ(VQ_E_CANCELLED,
            lib.DBcheck(&group.block, group.table().c_str(), nullptr, &Report::take, &one));
  EXPECT_EQ(1U, one.findings.size());
  EXPECT_EQ(10071, group.block.detail);
}

std::int32_t VQ_CALL change_table(void* context, const VqFinding*) {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  write_bytes(static_cast<CheckedGroup*>(context)->file(kTable), CheckedGroup::at(9, 1), "other");
  return 0;
}

TEST(Check, tells_of_a_change_meanwhile) {
  CheckedGroup group;
  group.create();
  group.fill();
  write_bytes(group.file(kTable), CheckedGroup::at(3, 12), "?");  // something to report
  const VqCheckOptions options = {VQ_CHECK_UNLOCKED, 0, nullptr, nullptr, nullptr};
  EXPECT_EQ(VQ_E_FILE_LOCKED,
            lib.dDcheck(&group.block, group.table().c_str(), &options, change_table, &group));
  EXPECT_EQ(6602, group.block.detail);
}

TEST(Check, waits_for_nobody_who_keeps_a_lock) {
  CheckedGroup group;
  group.create();
  group.fill();
  VqDatabase* const database = group.open(2);
  VqMember table = {};
  ASSERT_EQ(0, lib.GRPmember(database, 1, nullptr, nullptr, &table));
  ASSERT_EQ(0, lib.dDlkrec(static_cast<VqTable*>(table.handle), 3));
  EXPECT_EQ(VQ_E_FILE_LOCKED, group.check().result);
  const VqCheckOptions unlocked = {VQ_CHECK_UNLOCKED, 0, nullptr, nullptr, nullptr};
  EXPECT_EQ(0, group.check(&unlocked).result);
  ASSERT_EQ(0, lib.DBclose(database));
  EXPECT_EQ(0, group.check().result);
}

}  // namespace
