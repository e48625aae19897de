

#include "support/checked_group.h"
#include "support/tree_checker.h"

namespace {

class Repairs : public ::testing::Test {
 protected:
  void SetUp() override {
    group.create();
    group.fill();
  }
  Report repair(const VqCheckOptions* options = nullptr) {
    return run_check(lib.DBrepair, group.block, group.table(), options);
  }
  std::string text_of(std::uint32_t recno, std::size_t field) {
    VqDatabase* database = nullptr;
    EXPECT_EQ(0, lib.DBuse(&group.block, group.table().c_str(), 1, &database));
    const std::vector<std::string> all = CheckedGroup::memos(database);
    EXPECT_EQ(0, lib.DBclose(database));
    return all.at(2 * recno - (field == 28 ? 2 : 1));
  }

  CheckedGroup group;
};

TEST_F(Repairs, leave_a_sound_group_alone) {
  const std::vector<std::string> files = group.folder.list();
  const Report report = repair();
  EXPECT_EQ(0, report.result);
  EXPECT_TRUE(report.findings.empty());
  EXPECT_EQ(files, group.folder.list());
}

// Whatever one damage does to the files, what was there before comes back.
TEST_F(Repairs, bring_back_what_only_one_value_can_mean) {
  const struct {
    const char* what;
    std::string file;
    std::size_t offset;
    std::string bytes;
  } cases[] = {
      {"count too high", "ITEMS.DBF", 4, "\x40"},
      {"count too low", "ITEMS.DBF", 4, "\x07"},
      {"header length", "ITEMS.DBF", 8, "\x01"},
      {"record length", "ITEMS.DBF", 10, std::string(2, '\0')},
      {"version", "ITEMS.DBF", 0, "\x83"},
      {"version without memo file", "ITEMS.DBF", 0, "\x03"},
      {"unknown version", "ITEMS.DBF", 0, "\x8A"},
      {"end of the fields", "ITEMS.DBF", CheckedGroup::kHeaderBytes - 1, "\x20"},
      {"end mark", "ITEMS.DBF", CheckedGroup::at(13, 0), "\x20"},
      {"deletion flag", "ITEMS.DBF", CheckedGroup::at(5, 0), "?"},
      {"shared memo", "ITEMS.DBF", CheckedGroup::at(2, 28), "0000000001"},
      {"block size", "ITEMS.DBT", 20, std::string("\x00\x04", 2)},
      {"chain", "ITEMS.DBT", 0, "\x01"},
      {"chain end", "ITEMS.DBT", 2, "\x7F"},
      {"memo mark", "ITEMS.DBT", 512, std::string(1, '\0')},
      {"index page", "BYNAME.NDX", 1024, "\x77"},
      {"index root", "BYNAME.NDX", 0, "\x55"},
      {"index pages", "BYNAME.NDX", 4, "\xFF"},
      {"unique flag", "BYQTY.NDX", 8, std::string(1, '\0')},
  };
  VqDatabase* const database = group.open();
  ASSERT_EQ(0, lib.DBclose(database));
  const std::vector<std::string> names = group.folder.list();
  std::vector<std::string> sound;
  for (const std::string& name : names) sound.push_back(read_file(group.file(name)));
  const std::string first_memo = text_of(1, 28);
  ASSERT_EQ(0U, first_memo.find("note 1"));
  for (const auto& damage : cases) {
    SCOPED_TRACE(damage.what);
    const std::string path = group.file(damage.file);
    const std::string before = read_file(path);
    write_bytes(path, damage.offset, damage.bytes);
    const std::string damaged = read_file(path);
    ASSERT_NE("", group.check().summary());
    EXPECT_EQ(0, repair().result);
    EXPECT_EQ("", group.check().summary());
    EXPECT_EQ(damaged, read_file(path + ".BAK"));
    const std::string table = read_file(group.file("ITEMS.DBF"));
    if (damage.what != std::string("shared memo")) {
      EXPECT_EQ(sound[static_cast<std::size_t>(std::find(names.begin(), names.end(), "ITEMS.DBF") -
                                               names.begin())],
                table);
    } else {
      EXPECT_EQ(first_memo, text_of(2, 28));
      EXPECT_NE(table.substr(CheckedGroup::at(1, 28), 10),
                table.substr(CheckedGroup::at(2, 28), 10));
    }
    EXPECT_EQ(first_memo, text_of(1, 28));
    for (const std::string& left : group.folder.list()) {
      if (std::find(names.begin(), names.end(), left) == names.end()) {
        EXPECT_NE(std::string::npos, left.find(".BAK")) << left;
        std::filesystem::remove(group.file(left));
      }
    }
    for (std::size_t i = 0; i < names.size(); ++i) write_file(group.file(names[i]), sound[i]);
  }
}

TEST_F(Repairs, keep_records_that_are_whole_when_a_file_was_cut) {
  const std::string path = group.file("ITEMS.DBF");
  const std::string bytes = read_file(path);
  write_file(path, bytes.substr(0, CheckedGroup::at(8, 20)));
  EXPECT_EQ(0, repair().result);
  EXPECT_EQ(bytes.substr(CheckedGroup::kHeaderBytes,
                         CheckedGroup::at(8, 0) - CheckedGroup::kHeaderBytes) +
                "\x1A",
            read_file(path).substr(CheckedGroup::kHeaderBytes));
  // A second repair leaves the first one's backup.
  write_bytes(path, CheckedGroup::at(2, 0), "?");
  EXPECT_EQ(0, repair().result);
  EXPECT_EQ(bytes.substr(0, CheckedGroup::at(8, 20)), read_file(path + ".BAK"));
  EXPECT_TRUE(file_exists(path + ".BA1"));
}

// Two damages at once, of which one makes the other look like the end of the records.
TEST_F(Repairs, drop_no_record_behind_a_damaged_flag) {
  const std::string path = group.file("ITEMS.DBF");
  const std::string sound = read_file(path);
  const struct {
    const char* what;
    char count;
    std::size_t size;
    std::uint32_t kept;
  } cases[] = {{"count too low", 2, CheckedGroup::at(13, 1), 12},
               {"count too high", 100, CheckedGroup::at(13, 1), 12},
               {"cut off", 12, CheckedGroup::at(9, 3), 8},
               {"no end mark", 2, CheckedGroup::at(13, 0), 12}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.what);
    write_file(path, sound.substr(0, each.size));
    write_bytes(path, 4, {&each.count, 1});
    write_bytes(path, CheckedGroup::at(5, 0), std::string(1, '\0'));
    EXPECT_EQ(0, repair().result);
    EXPECT_EQ(sound.substr(CheckedGroup::at(1, 0), each.kept * CheckedGroup::kRecordBytes) + "\x1A",
              read_file(path).substr(CheckedGroup::at(1, 0)));
  }
}

TEST_F(Repairs, leave_alone_what_they_cannot_tell) {
  const std::string table = group.file("ITEMS.DBF");
  const std::string memo = group.file("ITEMS.DBT");
  const std::string records = read_file(table);
  const std::string memos = read_file(memo);
  // What lies behind the end mark stays there.
  write_bytes(table, records.size(), "and more");
  write_bytes(table, CheckedGroup::at(2, 0), "?");
  EXPECT_EQ(0, repair().result);
  EXPECT_EQ(records + "and more", read_file(table));
  // Another header length, and no end that tells.
  std::string moved = records;
  moved[8] = '\x05';
  moved.back() = 'X';
  write_file(table, moved);
  EXPECT_LT(0, repair().result);
  EXPECT_EQ(moved, read_file(table));
  // A longer record and a higher count, by which the file holds no record at all.
  moved = records;
  moved[5] = moved[11] = '\x20';
  write_file(table, moved);
  EXPECT_LT(0, repair().result);
  EXPECT_EQ(moved, read_file(table));
  write_file(table, records);
  // Less than its header.
  for (const std::size_t size : {20U, 100U}) {
    write_file(table, records.substr(0, size));
    const Report report = repair();
    EXPECT_LT(0, report.result);
    EXPECT_NE(std::string::npos, report.summary().find("504 r0 p0 ITEMS.DBF\n"));
    EXPECT_EQ(size, read_file(table).size());
  }
  write_file(table, records);
  // Another table's memo file.
  std::string other = memos;
  for (std::size_t at = 512; at < other.size(); at += 512) other[at] = other[at + 1] = 'x';
  write_file(memo, other);
  EXPECT_LT(0, repair().result);
  EXPECT_EQ(other, read_file(memo));
  EXPECT_EQ(records, read_file(table));
  // A header of zeros makes no dBASE III file of memos of the other layout.
  other = memos;
  other.replace(0, 512, std::string(512, '\0'));
  write_file(memo, other);
  EXPECT_EQ(0, repair().result);
  EXPECT_EQ(records, read_file(table));
  EXPECT_EQ(memos.substr(512), read_file(memo).substr(512));
}

TEST_F(Repairs, change_no_file_when_one_of_them_cannot_be_replaced) {
  write_bytes(group.file("ITEMS.DBF"), 4, "\x03");
  write_bytes(group.file("ITEMS.DBT"), 2, "\x7F");
  std::filesystem::create_hard_link(group.file("ITEMS.DBF"), group.file("SECOND"));
  const std::vector<std::string> files = group.folder.list();
  const std::string memos = read_file(group.file("ITEMS.DBT"));
  EXPECT_EQ("-11/6612", codes(repair().result, group.block));
  EXPECT_EQ(files, group.folder.list());
  EXPECT_EQ(memos, read_file(group.file("ITEMS.DBT")));
}

// Half the block size leads to some memo for more of the fields than the cut file has memos.
TEST_F(Repairs, keep_the_block_size_of_a_memo_file_that_was_cut_off) {
  std::string memos(8 * 1024, ' ');
  memos.replace(0, 24, std::string("\x19\0\0\0\0\0\0\0ITEMS\0\0\0\0\0\x02\x01\0\x04\0\0", 24));
  for (std::size_t at = 1024; at < memos.size(); at += 1024) {
    memos.replace(at, 8, std::string("\xFF\xFF\x08\0\x0C\0\0\0", 8));
  }
  write_file(group.file("ITEMS.DBT"), memos);
  for (std::size_t i = 1; i <= CheckedGroup::kRecords; ++i) {
    const std::string number = std::to_string(100 + 2 * i).substr(1);
    write_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(i, 28), "00000000" + number);
    write_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(i, 38), std::string(10, ' '));
  }
  EXPECT_EQ(std::string::npos, group.check().summary().find("202 "));
  EXPECT_EQ(0, repair().result);
  EXPECT_EQ("0000000006", read_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(3, 28), 10));
  EXPECT_EQ(std::string(10, ' '), read_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(4, 28), 10));
}

TEST_F(Repairs, keep_memos_that_a_damaged_field_may_have_named) {
  const std::string reference = read_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(1, 28), 10);
  const std::string text = text_of(1, 28);
  for (const char* const damaged : {"          ", "00000000-1"}) {
    write_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(1, 28), damaged);
    EXPECT_NE(std::string::npos,
              group.check().summary(VQ_SEVERITY_NOTE).find("212 r0 p1 ITEMS.DBT\n"));
    write_bytes(group.file("ITEMS.DBT"), 2, "\x7F");
    EXPECT_EQ(0, repair().result);
  }
  EXPECT_EQ(VQ_E_FORMAT, lib.DBcompact(&group.block, group.table().c_str()));
  write_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(1, 28), reference);
  EXPECT_EQ(text, text_of(1, 28));
  EXPECT_EQ("", group.check().summary());
}

TEST_F(Repairs, give_up_a_reference_only_where_no_memo_is) {
  write_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(4, 28), "0000009999");
  const std::string other = text_of(1, 38);
  const Report report = repair();
  EXPECT_EQ(0, report.result);
  EXPECT_EQ(std::string(10, ' '), read_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(4, 28), 10));
  EXPECT_EQ(other, text_of(1, 38));
  // Without the memo file nothing is known of the memos, and the fields stay as they are.
  const std::string table = read_file(group.file("ITEMS.DBF"));
  std::filesystem::remove(group.file("ITEMS.DBT"));
  EXPECT_EQ(1, repair().result);
  EXPECT_EQ(table, read_file(group.file("ITEMS.DBF")));
}

TEST_F(Repairs, build_lost_indexes_from_the_hosts_list) {
  ASSERT_EQ(0, lib.DBclose(group.open()));
  std::filesystem::remove(group.file("BYDUE.NDX"));
  write_bytes(group.file("BYNAME.NDX"), 12, std::string(60, '\x01'));
  VqDatabase* database = nullptr;
  ASSERT_GT(0, lib.DBuse(&group.block, group.table().c_str(), 0, &database));
  const std::vector<std::string> files = group.folder.list();
  EXPECT_EQ(2, repair().result);
  EXPECT_EQ(files, group.folder.list());
  const VqIndexDef defs[] = {
      {64, group.index_names[0].c_str(), nullptr, "NAME+SPACE(80)", nullptr, 0},
      {128, group.index_names[1].c_str(), nullptr, "DUE", nullptr, 0},
      {64, group.index_names[2].c_str(), nullptr, nullptr, nullptr, 0}};
  const std::string backups = group.file("KEPT");
  std::filesystem::create_directory(backups);
  const VqCheckOptions options = {0, 3, defs, nullptr, backups.c_str()};
  EXPECT_EQ(0, repair(&options).result);
  EXPECT_TRUE(file_exists(backups + "/BYNAME.NDX.BAK"));
  EXPECT_EQ("", group.check().summary());
  ASSERT_EQ(0, lib.DBuse(&group.block, group.table().c_str(), 0, &database));
  ASSERT_EQ(0, lib.DBclose(database));
}

// What is lost of a tag's header follows from its expressions and the tag table, or is in the
// host's list.
TEST_F(Repairs, build_tags_whose_header_is_damaged) {
  const std::string name = group.file("ITEMS");
  const std::string path = group.file("ITEMS.MDX");
  group.add_tags();
  const auto header_of = [&](std::size_t tag) {
    return 512 * number_at(read_file(path), 512 + 32 * tag, 4);
  };
  const auto definition_of = [&](std::size_t tag) {
    return read_bytes(path, header_of(tag) + 8, 1000);
  };
  const std::vector<std::string> definitions = {definition_of(1), definition_of(2)};
  const VqIndexDef defs[] = {{16, name.c_str(), "qtys", "QTY", nullptr, 2},
                             {16, name.c_str(), "names", "NAME", "PAID", 1}};
  const VqCheckOptions options = {0, 2, defs, nullptr, nullptr};
  const struct {
    std::size_t at;
    std::string bytes;
    bool is_told;                          // by the file alone
  } cases[] = {{0, "\xFF\xFF\xFF", true},  // root
               {9, "Z", true},             // type
               {12, "\xFF", true},         // length
               {14, "\xFF\xFF", true},     // entries in a page
               {18, "\xFF", true},         // their size
               {24, "?", false},
               {24, std::string(1, '\0'), false},
               {8, std::string(1000, '?'), false}};
  for (const auto& each : cases) {
    for (const std::size_t tag : {1U, 2U}) {
      SCOPED_TRACE(std::to_string(each.at) + " " + std::to_string(tag));
      write_bytes(path, header_of(tag) + each.at, each.bytes);
      ASSERT_LT(0, group.check().result);
      ASSERT_EQ(each.is_told, repair().result == 0);
      ASSERT_EQ(0, repair(&options).result);
      ASSERT_EQ(definitions, (std::vector{definition_of(1), definition_of(2)}));
      ASSERT_EQ(0, group.check().result);
    }
  }
}

TEST(SafeCompaction, keeps_every_memo_whole_and_the_table_in_step) {
  for (const std::uint32_t kind : {1U, 7U}) {
    SCOPED_TRACE(kind);
    CheckedGroup group(kind);
    group.create();
    group.fill(40);
    VqDatabase* database = group.open();
    std::uint32_t recno = 0;
    std::string record = group.record(database, 41);
    if (kind == 7) {  // longer than what an old compaction kept
      const std::string text = std::string(40000, 'x') + std::string(40000, 'y');
      VqMember memo = {};
      ASSERT_EQ(0, lib.GRPmember(database, 2, nullptr, nullptr, &memo));
      std::fill_n(record.begin() + 28, 10, ' ');
      ASSERT_EQ(0,
                lib.dTnewmm(static_cast<VqMemo*>(memo.handle), 0, 80000, text.data(), &record[28]));
    }
    ASSERT_EQ(0, lib.DBapprec(database, record.data(), &recno));
    for (std::uint32_t changed = 1; changed <= 41; changed += 3) {
      ASSERT_EQ(0, lib.DBupdrec(database, changed, group.record(database, changed + 50).data()));
    }
    const std::vector<std::string> before = CheckedGroup::memos(database);
    ASSERT_EQ(0, lib.DBclose(database));
    const std::size_t size = read_file(group.file("ITEMS.DBT")).size();
    ASSERT_EQ(0, lib.DBcompact(&group.block, group.table().c_str()));
    EXPECT_GT(size, read_file(group.file("ITEMS.DBT")).size());
    const Report report = group.check();
    EXPECT_EQ(0, report.result);
    EXPECT_EQ("", report.summary(VQ_SEVERITY_NOTE));
    database = group.open();
    EXPECT_EQ(before, CheckedGroup::memos(database));
    ASSERT_EQ(0, lib.DBclose(database));
    // Damaged files are not compacted.
    write_bytes(group.file("ITEMS.DBF"), CheckedGroup::at(2, 28), "0000099999");
    EXPECT_EQ(VQ_E_FORMAT, lib.DBcompact(&group.block, group.table().c_str()));
    EXPECT_EQ(6621, group.block.detail);
  }
}

}  // namespace
