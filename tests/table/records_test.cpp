// Records in every open mode: bytes in the file, codes and details.

#include "support/tree_checker.h"
#include "table/scratch_table.h"

namespace {

using namespace std::string_literals;

constexpr std::size_t kStart = ScratchTable::kHeaderBytes;
constexpr std::size_t kLength = ScratchTable::kRecordBytes;

std::string record_on_disk(const ScratchTable& scratch, std::uint32_t recno) {
  return read_bytes(scratch.file, kStart + (recno - 1) * kLength, kLength);
}

std::uint32_t count_on_disk(const ScratchTable& scratch) {
  return number_at(read_bytes(scratch.file, 4, 4), 0, 4);
}

// Every way to have a table open for changes.
struct Way {
  std::uint32_t mode;
  std::int32_t buffers;
  std::uint16_t flags;
};

std::vector<Way> all_ways() {
  std::vector<Way> ways;
  for (const std::uint32_t mode : {0u, 2u, 4u, 6u}) {
    for (const std::int32_t buffers : {0, 1, 3, 40}) {
      for (std::uint16_t flags = 0; flags < 4; ++flags) ways.push_back({mode, buffers, flags});
    }
  }
  return ways;
}

std::ostream& operator<<(std::ostream& out, const Way& way) {
  return out << "mode " << way.mode << " buffers " << way.buffers << " flags " << way.flags;
}

TEST(Records, append_to_new_table_writes_record_end_mark_count_and_date) {
  for (const Way& way : all_ways()) {
    ScratchTable scratch;
    write_bytes(scratch.file, 1, "\x01\x01\x01");
    scratch.block.runtime_flags = way.flags;
    OpenTable table(scratch.block, scratch.name, way.mode, way.buffers);
    std::string record = ScratchTable::record(7);
    if ((way.flags & 1) == 0) record[0] = '*';
    const std::string given = (way.flags & 1) != 0 ? record.substr(1) : record;
    ASSERT_EQ(0, lib.dDapprec(table, given.data())) << way;
    EXPECT_EQ(1, +scratch.block.record_number);
    if (way.mode == 0) {
      EXPECT_EQ(kStart, read_file(scratch.file).size()) << "an exclusive append waits";
      ASSERT_EQ(0, lib.dDflush(table));
    }
    EXPECT_EQ(record + "\x1A", read_file(scratch.file).substr(kStart)) << way;
    EXPECT_EQ(1u, count_on_disk(scratch)) << way;
    EXPECT_NE("\x01\x01\x01", read_bytes(scratch.file, 1, 3)) << way;
    EXPECT_EQ(0, table.close());
    EXPECT_EQ(kStart + kLength + 1, read_file(scratch.file).size()) << way;
  }
}

TEST(Records, change_and_read_back_in_every_mode) {
  for (const Way& way : all_ways()) {
    ScratchTable scratch;
    scratch.append(1, 200);
    scratch.block.runtime_flags = way.flags;
    const bool fields_only = (way.flags & 1) != 0;
    OpenTable table(scratch.block, scratch.name, way.mode, way.buffers);
    const auto given = [&](const std::string& whole) { return whole.substr(fields_only ? 1 : 0); };
    const auto read = [&](std::uint32_t recno) {
      std::string record(kLength - (fields_only ? 1 : 0), '?');
      EXPECT_EQ(0, lib.dDgetrec(table, recno, record.data())) << way;
      return record;
    };
    std::string changed = ScratchTable::record(999);
    EXPECT_EQ(given(ScratchTable::record(100)), read(100)) << way;
    EXPECT_EQ(0, lib.dDdelrec(table, 100));
    EXPECT_EQ('*', lib.dDrecsta(table, 100)) << way;
    EXPECT_EQ(0, lib.dDdelrec(table, 200));
    EXPECT_EQ(0, lib.dDrclrec(table, 200));
    EXPECT_EQ(' ', lib.dDrecsta(table, 200)) << way;
    EXPECT_EQ(0, lib.dDdelrec(table, 3));
    EXPECT_EQ(0, lib.dDupdrec(table, 3, given(changed).data()));
    EXPECT_EQ(' ', lib.dDrecsta(table, 3)) << "an overwrite takes the flag given, or makes live";
    EXPECT_EQ(given(changed), read(3)) << way;
    for (std::uint32_t i = 201; i <= 280; ++i) {
      ASSERT_EQ(0, lib.dDapprec(table, given(ScratchTable::record(i)).data())) << way;
    }
    EXPECT_EQ(given(ScratchTable::record(201)), read(201)) << way;
    EXPECT_EQ(given(ScratchTable::record(280)), read(280)) << way;
    ASSERT_EQ(0, lib.dDclearbuf(table));
    EXPECT_EQ(given(changed), read(3)) << way;
    ASSERT_EQ(0, table.close());

    std::string expected;
    for (std::uint32_t i = 1; i <= 280; ++i) expected += ScratchTable::record(i);
    expected[99 * kLength] = '*';
    expected.replace(2 * kLength, kLength, changed);
    EXPECT_EQ(expected + "\x1A", read_file(scratch.file).substr(kStart)) << way;
    EXPECT_EQ(280u, count_on_disk(scratch));
  }
}

TEST(Records, refusals_have_their_codes_and_details) {
  const std::string record = ScratchTable::record(1);
  std::string out(kLength, ' ');
  using Call = std::function<std::int32_t(VqTable*)>;
  const auto get = [&](std::uint32_t n) -> Call {
    return [&, n](VqTable* t) { return lib.dDgetrec(t, n, out.data()); };
  };
  const auto update = [&](std::uint32_t n) -> Call {
    return [&, n](VqTable* t) { return lib.dDupdrec(t, n, record.data()); };
  };
  const auto insert = [&](std::uint32_t n) -> Call {
    return [&, n](VqTable* t) { return lib.dDinsrec(t, n, record.data()); };
  };
  const Call append = [&](VqTable* t) { return lib.dDapprec(t, record.data()); };
  const auto by_number = [](auto function, std::uint32_t n) -> Call {
    return [=](VqTable* t) { return function(t, n); };
  };
  const struct {
    std::uint32_t mode;
    Call call;
    std::int32_t result, detail;
  } cases[] = {
      {0, get(0), -4, 262},
      {0, get(0xFFFFFFFF), -4, 262},
      {0, get(4), -4, 263},
      {2, get(4), -4, 263},
      {0, by_number(lib.dDrecsta, 0), -4, 382},
      {0, by_number(lib.dDrecsta, 4), -4, 383},
      {1, append, -16, 323},
      {3, append, -16, 323},
      {1, update(1), -16, 463},
      {5, update(1), -16, 463},
      {0, update(0), -4, 464},
      {0, update(4), -4, 465},
      {2, update(4), -4, 465},
      {4, by_number(lib.dDdelrec, 4), -4, 465},
      {1, by_number(lib.dDrclrec, 1), -16, 463},
      {2, insert(1), -11, 272},
      {5, insert(1), -11, 272},
      {1, insert(1), -16, 273},
      {0, insert(0), -4, 274},
      {0, insert(5), -4, 274},
      {4, by_number(lib.dDrmrec, 1), -11, 402},
      {1, by_number(lib.dDrmrec, 1), -16, 403},
      {0, by_number(lib.dDrmrec, 0), -4, 404},
      {0, by_number(lib.dDrmrec, 4), -4, 404},
  };
  ScratchTable scratch;
  scratch.append(1, 3);
  const std::string before = read_file(scratch.file);
  for (const auto& c : cases) {
    OpenTable table(scratch.block, scratch.name, c.mode, 2);
    scratch.block.detail = 0;
    scratch.block.record_number = 3;
    EXPECT_EQ(c.result, c.call(table)) << c.detail;
    EXPECT_EQ(c.detail, +scratch.block.detail);
    EXPECT_EQ(c.detail / 10 == 32 ? -1 : 3, +scratch.block.record_number) << c.detail;
  }
  EXPECT_EQ(before, read_file(scratch.file));
}

TEST(Records, handles_without_their_signature_are_refused) {
  ScratchTable scratch;
  scratch.append(1, 1);
  VqTable* const table = lib.dDopen(&scratch.block, scratch.name.c_str(), 0, 1);
  std::uint32_t* const signature = reinterpret_cast<std::uint32_t*>(table) + 1;
  EXPECT_EQ(9786u, *signature);
  *signature = 9787;
  EXPECT_EQ("-10/181", codes(lib.dDfields(table), scratch.block));
  EXPECT_EQ("-10/301", codes(lib.dDclose(table), scratch.block));
  EXPECT_EQ(15, lib.dDreclen(table)) << "makes no signature test";
  EXPECT_EQ(' ', lib.dDrecsta(table, 1));
  *signature = 9786;
  ASSERT_EQ(0, lib.dDclose(table));
  EXPECT_EQ(0u, *signature);
  EXPECT_EQ(0, lib.dDreclen(table));
}

TEST(Records, longer_than_one_transfer_are_changed_whole) {
  const TemporaryFolder folder;
  VqBlock block = block_of_kind(8);
  std::vector<std::string> names;
  for (char c = 'A'; c <= 'Z'; ++c) names.insert(names.end(), {{c}, {c, '1'}, {c, '2'}});
  std::vector<const char*> fields;
  for (const std::string& name : names) fields.insert(fields.end(), {name.c_str(), "C254"});
  ASSERT_EQ(0, create_table(block, folder.file("T"), fields));
  for (const unsigned flags : {0U, 1U}) {
    block.runtime_flags = static_cast<std::uint16_t>(flags);
    OpenTable table(block, folder.file("T"), 2, 0);
    std::string record(78 * 254 + 1 - flags, ' '), back = record;
    ASSERT_EQ(0, lib.dDapprec(table, record.data()));
    for (std::size_t i = 1; i < record.size(); ++i) record[i] = static_cast<char>('a' + i % 23);
    ASSERT_EQ(0, lib.dDupdrec(table, 1 + flags, record.data()));
    ASSERT_EQ(0, lib.dDgetrec(table, 1 + flags, back.data()));
    EXPECT_TRUE(record == back) << flags;
  }
}

TEST(Records, come_in_blocks_as_one_by_one) {
  for (const Way& way : all_ways()) {
    ScratchTable scratch;
    scratch.append(1, 200);
    scratch.block.runtime_flags = way.flags;
    OpenTable table(scratch.block, scratch.name, way.mode, way.buffers);
    const std::size_t length = kLength - (way.flags & 1);
    std::string expected;
    for (std::uint32_t n = 50; n <= 200; ++n)
      expected += ScratchTable::record(n).substr(way.flags & 1);
    std::string records(expected.size() + length, '?');
    std::uint32_t got = 0;
    ASSERT_EQ(0, lib.dDgetrecs(table, 50, 100, records.data(), &got)) << way;
    EXPECT_EQ(100u, got);
    EXPECT_EQ("-4/263", codes(lib.dDgetrecs(table, 150, 52, records.data() + 100 * length, &got),
                              scratch.block));
    EXPECT_EQ(51u, got);
    EXPECT_EQ(expected + std::string(length, '?'), records) << way;
    EXPECT_EQ("-4/262", codes(lib.dDgetrecs(table, 0, 2, records.data(), &got), scratch.block));
    EXPECT_EQ(0u, got);
  }
}

TEST(Records, insert_and_remove_move_the_records_behind) {
  for (const std::int32_t buffers : {1, 2, 30}) {
    for (std::uint16_t flags = 0; flags < 2; ++flags) {
      ScratchTable scratch;
      scratch.append(1, 300);
      scratch.block.runtime_flags = flags;
      OpenTable table(scratch.block, scratch.name, 0, buffers);
      std::vector<std::string> model;
      for (std::uint32_t i = 1; i <= 300; ++i) model.push_back(ScratchTable::record(i));
      const auto insert = [&](std::uint32_t recno, std::uint32_t number) {
        const std::string record = ScratchTable::record(number);
        EXPECT_EQ(0, lib.dDinsrec(table, recno, record.data() + flags));
        model.insert(model.begin() + recno - 1, record);
        EXPECT_EQ(static_cast<std::int32_t>(model.size()), +scratch.block.record_number);
      };
      const auto remove = [&](std::uint32_t recno) {
        EXPECT_EQ(0, lib.dDrmrec(table, recno));
        model.erase(model.begin() + recno - 1);
      };
      EXPECT_EQ(0, lib.dDdelrec(table, 150));
      model[149][0] = '*';
      insert(1, 901);
      insert(302, 902);
      insert(138, 903);
      remove(303);
      remove(1);
      remove(68);
      for (int i = 0; i < 170; ++i) remove(static_cast<std::uint32_t>(model.size()));
      insert(static_cast<std::uint32_t>(model.size() + 1), 904);
      remove(static_cast<std::uint32_t>(model.size()));
      ASSERT_EQ(0, table.close());
      std::string expected;
      for (const std::string& record : model) expected += record;
      EXPECT_EQ(expected + "\x1A", read_bytes(scratch.file, kStart, expected.size() + 1));
      EXPECT_EQ(model.size(), count_on_disk(scratch));
    }
  }
}

TEST(Records, removing_the_only_record_leaves_an_empty_table) {
  ScratchTable scratch;
  scratch.append(1, 1);
  OpenTable table(scratch.block, scratch.name, 0, 1);
  ASSERT_EQ(0, lib.dDrmrec(table, 1));
  ASSERT_EQ(0, lib.dDflush(table));
  EXPECT_EQ(0u, count_on_disk(scratch));
  EXPECT_EQ("\x1A", read_bytes(scratch.file, kStart, 1));
  ASSERT_EQ(0, lib.dDapprec(table, ScratchTable::record(5).data()));
  ASSERT_EQ(0, table.close());
  EXPECT_EQ(ScratchTable::record(5) + "\x1A", read_bytes(scratch.file, kStart, kLength + 1));
}

TEST(Records, the_date_follows_the_count_only) {
  ScratchTable scratch;
  scratch.append(1, 2);
  write_bytes(scratch.file, 1, "\x50\x02\x03");
  OpenTable table(scratch.block, scratch.name, 0, 1);
  ASSERT_EQ(0, lib.dDupdrec(table, 1, ScratchTable::record(9).data()));
  ASSERT_EQ(0, lib.dDflush(table));
  EXPECT_EQ("\x50\x02\x03", read_bytes(scratch.file, 1, 3));
  EXPECT_EQ(ScratchTable::record(9), record_on_disk(scratch, 1));
  std::int32_t year = 0;
  EXPECT_EQ(0, lib.dDdate(table, nullptr, nullptr, &year));
  EXPECT_EQ(1980, year);
  ASSERT_EQ(0, lib.dDapprec(table, ScratchTable::record(3).data()));
  ASSERT_EQ(0, lib.dDflush(table));
  EXPECT_EQ(0, lib.dDdate(table, nullptr, nullptr, &year));
  EXPECT_LT(2000, year);
}

TEST(Records, shared_readers_see_what_others_append_and_change) {
  struct Case {
    std::uint32_t mode;
    std::int32_t buffers;
    std::uint16_t flags;
    bool sees_count, sees_change;
  };
  // Mode 4 reads from its buffers and counts from memory; mode 2 looks at the file unless run-time
  // flag 2 sends it to its buffers.
  const Case cases[] = {{2, 0, 0, true, true},  {2, 2, 0, true, true}, {2, 2, 1, true, true},
                        {2, 2, 2, true, false}, {3, 2, 0, true, true}, {4, 2, 0, false, false},
                        {5, 2, 0, false, false}};
  for (const Case& c : cases) {
    ScratchTable scratch;
    scratch.append(1, 3);
    VqBlock other = scratch.block;
    OpenTable writer(other, scratch.name, 2, 0);
    scratch.block.runtime_flags = c.flags;
    const std::size_t skip = c.flags & 1;
    OpenTable reader(scratch.block, scratch.name, c.mode, c.buffers);
    std::string out(kLength - skip, '?');
    ASSERT_EQ(0, lib.dDgetrec(reader, 2, out.data()));
    ASSERT_EQ(0, lib.dDupdrec(writer, 2, ScratchTable::record(777).data()));
    ASSERT_EQ(0, lib.dDdelrec(writer, 3));
    ASSERT_EQ(0, lib.dDapprec(writer, ScratchTable::record(4).data()));

    ASSERT_EQ(0, lib.dDgetrec(reader, 2, out.data()));
    EXPECT_EQ(ScratchTable::record(c.sees_change ? 777 : 2).substr(skip), out) << c.mode;
    EXPECT_EQ(c.sees_change ? '*' : ' ', lib.dDrecsta(reader, 3)) << c.mode;
    EXPECT_EQ(c.sees_count ? 0 : -4, lib.dDgetrec(reader, 4, out.data())) << c.mode;
    if (c.sees_count) {
      EXPECT_EQ(ScratchTable::record(4).substr(skip), out);
    }
    EXPECT_EQ(c.sees_count ? 4u : 3u, record_count(reader)) << c.mode;
    ASSERT_EQ(0, lib.dDclearbuf(reader));
    ASSERT_EQ(0, lib.dDgetrec(reader, 2, out.data()));
    EXPECT_EQ(ScratchTable::record(777).substr(skip), out) << "cleared buffers read the file";
  }
}

TEST(Records, appenders_in_any_shared_mode_take_turns_by_the_count_in_the_file) {
  for (const std::uint32_t mode : {2u, 4u}) {
    for (const std::uint32_t kind : {1u, 16u}) {
      ScratchTable scratch(kind);
      VqBlock other = scratch.block;
      OpenTable first(scratch.block, scratch.name, mode, 2);
      OpenTable second(other, scratch.name, 4, 1);
      std::string expected;
      for (std::uint32_t i = 1; i <= 150; ++i) {
        const bool by_first = i % 3 == 0;
        ASSERT_EQ(0, lib.dDapprec(by_first ? first : second, ScratchTable::record(i).data()));
        EXPECT_EQ(static_cast<std::int32_t>(i), +(by_first ? scratch.block : other).record_number);
        expected += ScratchTable::record(i);
      }
      std::string out(kLength, '?');
      ASSERT_EQ(0, lib.dDgetrec(first, 149, out.data()));
      EXPECT_EQ(ScratchTable::record(149), out) << "what the other appended in between";
      EXPECT_EQ(expected + "\x1A", read_file(scratch.file).substr(kStart));
      EXPECT_EQ(150u, count_on_disk(scratch));
    }
  }
}

TEST(Records, the_count_of_a_shared_table_comes_from_the_file_size_under_kind_16) {
  ScratchTable scratch(16);
  scratch.append(1, 5);
  write_bytes(scratch.file, 4, "\x02");
  {
    OpenTable exclusive(scratch.block, scratch.name, 0, 1);
    EXPECT_EQ(0, lib.dNindex(exclusive, scratch.folder.file("I").c_str(), "NUMBER", 0));
    EXPECT_EQ(2u, record_count(exclusive));
  }
  {
    OpenTable shared(scratch.block, scratch.name, 2, 0);
    EXPECT_EQ(5u, record_count(shared));
    ASSERT_EQ(0, lib.dDapprec(shared, ScratchTable::record(6).data()));
    EXPECT_EQ(6u, count_on_disk(scratch));
  }
  write_bytes(scratch.file, 4, "\x02");
  ASSERT_EQ(0, lib.dDpack(&scratch.block, scratch.name.c_str()));
  EXPECT_EQ(ScratchTable::record(1) + ScratchTable::record(2) + "\x1A",
            read_file(scratch.file).substr(kStart));
}

TEST(Records, records_that_the_file_lacks_are_errors_and_never_old_bytes) {
  for (const Way& way : all_ways()) {
    // In shared modes dialect 16 counts what the file holds.
    ScratchTable scratch(way.mode == 0 && way.buffers == 3 ? 16 : 1);
    scratch.append(1, 100);
    const std::string whole = read_file(scratch.file);
    const std::string cut = whole.substr(0, kStart + 79 * kLength + 7);
    write_file(scratch.file, cut);
    scratch.block.runtime_flags = way.flags;
    OpenTable table(scratch.block, scratch.name, way.mode, way.buffers);
    std::string out(kLength, '?');
    EXPECT_EQ(0, lib.dDgetrec(table, 79, out.data())) << way;
    for (const std::uint32_t recno : {80u, 81u, 100u}) {
      EXPECT_EQ(-17, lib.dDgetrec(table, recno, out.data())) << way;
      if (recno > 80) {
        EXPECT_EQ(-17, lib.dDrecsta(table, recno)) << way;
      }
    }
    EXPECT_EQ(-17, lib.dDapprec(table, out.data())) << way;
    EXPECT_EQ(10064, +scratch.block.detail);
    for (const std::uint32_t recno : {80u, 81u, 100u}) {
      EXPECT_EQ(-17, lib.dDupdrec(table, recno, out.data())) << way;
      EXPECT_EQ(-17, lib.dDdelrec(table, recno)) << way;
    }
    if (way.mode == 0) {
      EXPECT_EQ(-17, lib.dDrmrec(table, 5));
      EXPECT_EQ(-17, lib.dDrmrec(table, 100));
      EXPECT_EQ(-17, lib.dDinsrec(table, 5, out.data()));
      EXPECT_EQ(0, lib.dDgetrec(table, 5, out.data()));
      EXPECT_EQ(ScratchTable::record(5).substr(way.flags & 1),
                out.substr(0, kLength - (way.flags & 1)));
    }
    EXPECT_EQ(0, table.close());
    EXPECT_EQ(cut, read_file(scratch.file)) << way;
  }
}

TEST(Records, a_table_ends_below_the_locked_bytes) {
  struct Case {
    std::uint32_t mode, scheme;
    std::uint64_t end;
  };
  for (const Case& c : {Case{0, 0, 0xEFFFFFFE},
                        {2, 0, 0xEFFFFFFE},
                        {0, 1, 1000000000},
                        {4, 1, 1000000000},
                        {2, 2, 0xEFFFFFFE},
                        {2, 3, 0x40000001},
                        {2, 6, 0xEFFFFFFE}}) {
    const std::uint32_t mode = c.mode;
    ScratchTable scratch;
    scratch.block.index_kind = c.scheme;
    // A sparse file of as many records as fit.
    const auto most = static_cast<std::uint32_t>((c.end - kStart - 1) / kLength);
    write_bytes(scratch.file, 4, le32(most - 1));
    std::filesystem::resize_file(scratch.file, kStart + std::uint64_t{most - 1} * kLength + 1);
    OpenTable table(scratch.block, scratch.name, mode, 1);
    ASSERT_EQ(0, lib.dDapprec(table, ScratchTable::record(1).data()));
    EXPECT_EQ(-20, lib.dDapprec(table, ScratchTable::record(2).data()));
    EXPECT_EQ(327, +scratch.block.detail);
    ASSERT_EQ(0, table.close());
    EXPECT_EQ(kStart + std::uint64_t{most} * kLength + 1, std::filesystem::file_size(scratch.file));
  }
}

}  // namespace
