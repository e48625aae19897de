// Tables as whole files: copied, compared, joined, packed, detached.
#include "support/host.h"
#include "table/scratch_table.h"

namespace {

using namespace std::string_literals;

constexpr std::size_t kStart = ScratchTable::kHeaderBytes;
constexpr std::size_t kLength = ScratchTable::kRecordBytes;

std::string records(std::uint32_t first, std::uint32_t last) {
  std::string all;
  for (std::uint32_t i = first; i <= last; ++i) all += ScratchTable::record(i);
  return all;
}

TEST(Copy, makes_an_empty_table_of_the_same_fields) {
  ScratchTable scratch(4);
  const std::string source = scratch.folder.file("S"), target = scratch.folder.file("D.DBF");
  ASSERT_EQ(0, create_table(scratch.block, source,
                            {"A", "C254", "B", "F20.5", "C", "D", "D", "L", "E", "M", "F", "G"}));
  std::string bytes = read_file(source + ".DBF");
  bytes[28] = 1;
  write_file(source + ".DBF", bytes);
  ASSERT_EQ(0, lib.dDcopy(&scratch.block, source.c_str(), target.c_str()));
  bytes[28] = 0;
  EXPECT_EQ(bytes, read_file(target));
  EXPECT_EQ(0, lib.dDcmpstr(&scratch.block, source.c_str(), target.c_str()));
}

TEST(Copy, tests_names_and_length_again_but_takes_types_as_they_are) {
  const struct {
    std::size_t offset;
    std::string bytes;
    std::int32_t result, detail;
  } cases[] = {{32, "A-B\0"s, -11, 157},
               {64, "TEXT\0\0"s, -11, 158},
               {64 + 11, "Z", 0, 0},
               {64 + 16, "\x20\x1F"s, 0, 0},
               {32, "text", 0, 0}};
  for (const auto& c : cases) {
    ScratchTable scratch;
    write_bytes(scratch.file, 10, "\xFF");
    write_bytes(scratch.file, c.offset, c.bytes);
    const std::string target = scratch.folder.file("D");
    EXPECT_EQ(
        codes(c.result, c.detail),
        codes(lib.dDcopy(&scratch.block, scratch.name.c_str(), target.c_str()), scratch.block));
    EXPECT_EQ(c.result == 0, file_exists(target + ".DBF"));
  }
}

TEST(Copy, refuses_to_copy_a_table_to_itself) {
  ScratchTable scratch;
  scratch.append(1, 3);
  const std::string before = read_file(scratch.file);
  const char* const name = scratch.name.c_str();
  const char* const missing = nullptr;
  const std::string dotted = scratch.folder.file("./T"), link = scratch.folder.file("LINK");
  std::filesystem::create_hard_link(scratch.file, link + ".DBF");
  for (const auto& [from, to] : {std::pair{name, name},
                                 {name, missing},
                                 {missing, name},
                                 {name, scratch.file.c_str()},
                                 {name, dotted.c_str()},
                                 {link.c_str(), name}}) {
    scratch.block.detail = 0;
    EXPECT_EQ("-11/141", codes(lib.dDcopy(&scratch.block, from, to), scratch.block));
    EXPECT_EQ("-11/441", codes(lib.dDsort(&scratch.block, from, to, "TEXT"), scratch.block));
  }
  EXPECT_EQ(before, read_file(scratch.file));
  EXPECT_EQ("-5/10421", codes(lib.dDcopy(&scratch.block, scratch.folder.file("NO").c_str(), name),
                              scratch.block));
}

TEST(Copy, is_refused_where_no_file_can_be_made_as_creating_is) {
  ScratchTable scratch;
  VqBlock& block = scratch.block;
  const char* const from = scratch.name.c_str();
  for (const std::string& name : {std::string("NO/X"), std::string(300, 'X')}) {
    const std::string to = scratch.folder.file(name);
    const std::int32_t result = create_table(block, to, {"X", "C5"});
    EXPECT_EQ(name == "NO/X" ? "-5/153"s : codes(result, 153), codes(result, block));
    EXPECT_EQ(codes(result, 153), codes(lib.dDcopy(&block, from, to.c_str()), block));
    EXPECT_EQ(codes(result, 443), codes(lib.dDsort(&block, from, to.c_str(), "TEXT"), block));
  }
}

TEST(Compare, looks_at_names_types_lengths_and_decimals) {
  TemporaryFolder folder;
  VqBlock block = block_of_kind(1);
  ASSERT_EQ(0, create_table(block, folder.file("A"), {"X", "N8.2", "Y", "C5"}));
  const struct {
    std::vector<const char*> fields;
    std::int32_t result;
  } cases[] = {{{"x", "N8.2", "y", "C5"}, 0},           {{"X", "N8.2"}, -9},
               {{"X", "N8.2", "Z", "C5"}, -9},          {{"X", "F8.2", "Y", "C5"}, -9},
               {{"X", "N9.2", "Y", "C5"}, -9},          {{"X", "N8.3", "Y", "C5"}, -9},
               {{"X", "N8.2", "Y", "C5", "Z", "L"}, -9}};
  for (const auto& c : cases) {
    ASSERT_EQ(0, create_table(block, folder.file("B"), c.fields));
    block.detail = 0;
    EXPECT_EQ(c.result, lib.dDcmpstr(&block, folder.file("A").c_str(), folder.file("B").c_str()));
    EXPECT_EQ(c.result == 0 ? 0 : 191, +block.detail);
  }
  std::string bytes = read_file(folder.file("A.DBF"));
  bytes[32] = 'x';
  write_file(folder.file("B.DBF"), bytes);
  EXPECT_EQ(0, lib.dDcmpstr(&block, folder.file("A").c_str(), folder.file("B").c_str()));
  EXPECT_EQ(-5, lib.dDcmpstr(&block, folder.file("A").c_str(), folder.file("NO").c_str()));
}

TEST(Concatenate, makes_a_byte_copy_where_there_is_no_target) {
  for (const std::uint32_t count : {0u, 1u, 3000u}) {
    ScratchTable scratch;
    if (count != 0) scratch.append(1, count);
    const std::string target = scratch.folder.file("D");
    ASSERT_EQ("0/0", codes(lib.dDcat(&scratch.block, target.c_str(), scratch.name.c_str()),
                           scratch.block));
    EXPECT_EQ(read_file(scratch.file) + (count == 0 ? "\x1A" : ""), read_file(target + ".DBF"))
        << "an end mark that is lacking is supplied";
  }
}

TEST(Concatenate, appends_and_leaves_the_date) {
  struct Case {
    std::uint32_t target, source;
    bool end_mark;
  };
  for (const Case& c :
       {Case{2, 3, true}, {2, 3, false}, {0, 1500, true}, {1500, 4000, false}, {7, 0, true}}) {
    ScratchTable target;
    ScratchTable source;
    if (c.target != 0) target.append(1, c.target);
    if (c.source != 0) source.append(10001, 10000 + c.source);
    if (!c.end_mark) {
      const std::string bytes = read_file(source.file);
      write_file(source.file, bytes.substr(0, bytes.size() - 1));
    }
    write_bytes(target.file, 1, "\x50\x02\x03");
    ASSERT_EQ(0, lib.dDcat(&target.block, target.name.c_str(), source.name.c_str()));
    EXPECT_EQ("\x50\x02\x03", read_bytes(target.file, 1, 3));
    EXPECT_EQ(records(1, c.target) + records(10001, 10000 + c.source) + "\x1A",
              read_file(target.file).substr(kStart));
    EXPECT_EQ(c.target + c.source, record_count(OpenTable(target.block, target.name, 0, 1)));
  }
}

TEST(Concatenate, doubles_a_table_given_twice) {
  for (const char* other : {"T.DBF", "./T", "LINK"}) {
    ScratchTable scratch;
    scratch.append(1, 2500);
    std::filesystem::create_hard_link(scratch.file, scratch.folder.file("LINK.DBF"));
    ASSERT_EQ(0,
              lib.dDcat(&scratch.block, scratch.name.c_str(), scratch.folder.file(other).c_str()));
    const std::string expected = records(1, 2500) + records(1, 2500) + "\x1A";
    EXPECT_EQ(expected, read_bytes(scratch.file, kStart, expected.size())) << other;
  }
}

TEST(Concatenate, refuses_and_leaves_the_target_as_it_was) {
  ScratchTable target;
  target.append(1, 5);
  const std::string before = read_file(target.file);
  ScratchTable source;
  source.append(1, 2000);
  const std::string sound = read_file(source.file);
  const auto cat = [&](const std::string& to) {
    target.block.detail = 0;
    return lib.dDcat(&target.block, to.c_str(), source.name.c_str());
  };

  std::string bytes = sound;
  bytes[64 + 11] = 'F';
  write_file(source.file, bytes);
  EXPECT_EQ("-9/191", codes(cat(target.name), target.block));

  bytes = sound;
  bytes[10] = 16;
  write_file(source.file, bytes);
  EXPECT_EQ("-9/351", codes(cat(target.name), target.block));

  write_file(source.file, sound.substr(0, sound.size() - 2));
  EXPECT_EQ("-3/358", codes(cat(target.name), target.block));
  EXPECT_EQ(before, read_file(target.file));
  EXPECT_EQ("-3/358", codes(cat(target.folder.file("NEW")), target.block));
  EXPECT_FALSE(file_exists(target.folder.file("NEW.DBF")));

  write_file(source.file, "dBASE");
  EXPECT_EQ("-17/344", codes(cat(target.folder.file("NEW")), target.block));
  EXPECT_EQ(-17, cat(target.folder.file("NO/NEW"))) << "before the target is looked for";

  write_file(source.file, sound);
  EXPECT_EQ("-5/345", codes(cat(target.folder.file("NO/NEW")), target.block));
  write_file(target.file, before.substr(0, before.size() - 3));
  EXPECT_EQ("-17/350", codes(cat(target.name), target.block));
  std::filesystem::remove(source.file);
  EXPECT_EQ("-5/341", codes(cat(target.name), target.block));

  // A source so long that both together would reach the locked bytes.
  write_file(target.file, before);
  bytes = sound;
  bytes.replace(4, 4, "\xFF\xFF\xFF\x1F");
  write_file(source.file, bytes);
  EXPECT_EQ("-20/350", codes(cat(target.name), target.block));
  EXPECT_EQ(before, read_file(target.file));
}

TEST(Pack, keeps_live_records_and_what_the_header_says) {
  for (std::uint16_t flags = 0; flags < 2; ++flags) {
    ScratchTable scratch(4);
    ASSERT_EQ(0, lib.dUtmpdir(&scratch.block, scratch.folder.path().string().c_str()));
    scratch.append(1, 3000);
    std::string expected;
    {
      OpenTable table(scratch.block, scratch.name, 0, 4);
      for (std::uint32_t i = 1; i <= 3000; ++i) {
        if (i % 3 == 0) {
          ASSERT_EQ(0, lib.dDdelrec(table, i));
        } else {
          expected += ScratchTable::record(i);
        }
      }
    }
    write_bytes(scratch.file, 0, "\x83\x50\x02\x03");  // another dialect's version, an old date
    write_bytes(scratch.file, 28, "\x01\x57");         // production index, code page mark
    write_bytes(scratch.file, kStart + 7 * kLength, "?");
    expected.erase(5 * kLength, kLength);
    scratch.block.runtime_flags = flags;
    const Host host(scratch.block);
    ASSERT_EQ(0, lib.dDpack(&scratch.block, scratch.name.c_str())) << +scratch.block.detail;

    const std::string bytes = read_file(scratch.file);
    EXPECT_EQ(expected + "\x1A", bytes.substr(kStart));
    EXPECT_EQ('\x83', bytes[0]);
    EXPECT_NE("\x50\x02\x03", bytes.substr(1, 3));
    EXPECT_EQ("\0\x57"s, bytes.substr(28, 2));
    EXPECT_EQ(flags, +scratch.block.runtime_flags);
    EXPECT_EQ((std::vector<std::string>{"T.DBF"}), scratch.folder.list());
    EXPECT_TRUE(host.in_order);
    EXPECT_EQ(3000u, host.total);
    EXPECT_EQ(3000u, host.last_done);
    EXPECT_EQ(1999u, record_count(OpenTable(scratch.block, scratch.name, 0, 4)));
  }
}

TEST(Pack, and_sort_keep_the_version_and_bytes_behind_the_fields_of_a_record) {
  ScratchTable scratch(2);
  write_bytes(scratch.file, 0, "\x83");
  write_bytes(scratch.file, 4, "\x02\0\0\0\x61\0\x14\0"s);
  write_bytes(scratch.file, 28, "\0\x57"s);  // code page mark
  write_bytes(scratch.file, kStart, " RECORD   12345extra*RECORD   12345extra\x1A");
  const std::string sorted = scratch.folder.file("S");
  ASSERT_EQ(0, lib.dDsort(&scratch.block, scratch.name.c_str(), sorted.c_str(), "TEXT"));
  const auto but_date = [](std::string bytes) { return bytes.erase(1, 3); };
  EXPECT_EQ(but_date(read_file(scratch.file)), but_date(read_file(sorted + ".DBF")));
  ASSERT_EQ(0, lib.dDpack(&scratch.block, scratch.name.c_str()));
  EXPECT_EQ(" RECORD   12345extra\x1A", read_file(scratch.file).substr(kStart));
  EXPECT_EQ("\x01\0\0\0\x61\0\x14\0"s, read_bytes(scratch.file, 4, 8));
}

TEST(Pack, of_a_short_table_changes_nothing) {
  ScratchTable scratch;
  scratch.append(1, 200);
  const std::string cut = read_file(scratch.file).substr(0, 2000);
  write_file(scratch.file, cut);
  EXPECT_EQ("-17/10064", codes(lib.dDpack(&scratch.block, scratch.name.c_str()), scratch.block));
  EXPECT_EQ(cut, read_file(scratch.file));
  EXPECT_EQ(-5, lib.dDpack(&scratch.block, scratch.folder.file("NO").c_str()));
  lib.dUtmpdir(&scratch.block, scratch.folder.file("NO").c_str());
  EXPECT_EQ("-5/291", codes(lib.dDpack(&scratch.block, scratch.name.c_str()), scratch.block));
}

TEST(Maintenance, cancelled_work_leaves_everything_as_it_was) {
  for (const bool packs : {true, false}) {
    for (std::uint32_t at = 1;; ++at) {
      ScratchTable target(at % 2 == 0 ? 16 : 1);
      ScratchTable source;
      lib.dUtmpdir(&target.block, target.folder.path().string().c_str());
      target.append(1, 3000);
      source.append(1, 3000);
      const std::string before = read_file(target.file);
      const Host host(target.block, at);
      const std::int32_t result =
          packs ? lib.dDpack(&target.block, target.name.c_str())
                : lib.dDcat(&target.block, target.name.c_str(), source.name.c_str());
      if (host.reports < at) {
        EXPECT_EQ(0, result);
        EXPECT_GE(at, 4u) << "reports come on the way, not at the end only";
        break;
      }
      EXPECT_EQ(-41, result);
      EXPECT_EQ(10071, +target.block.detail);
      EXPECT_EQ(before, read_file(target.file).substr(0, before.size()));
      EXPECT_EQ(1u, target.folder.list().size());
      VqBlock by_size = block_of_kind(16);
      const std::uint32_t count = record_count(OpenTable(by_size, target.name, 2, 0));
      EXPECT_TRUE(packs || at % 2 != 0 || count == 3000) << "dialect 16 goes by the file's size";
    }
  }
}

// Reads its own table's first record on every report.
struct Onlooker {
  VqTable* table = nullptr;
  std::string seen = std::string(kLength, '#');

  static std::int32_t VQ_CALL told(void* context, std::uint32_t, std::uint32_t) {
    Onlooker& host = *static_cast<Onlooker*>(context);
    return lib.dDgetrec(host.table, 1, host.seen.data());
  }
};

TEST(Maintenance, long_work_leaves_the_layout_of_the_hosts_records_alone) {
  for (std::uint16_t flags = 0; flags < 2; ++flags) {
    ScratchTable scratch, other;
    scratch.append(1, 1500);
    other.append(1, 1);
    lib.dUtmpdir(&scratch.block, scratch.folder.path().string().c_str());
    VqBlock& block = scratch.block;
    block.runtime_flags = flags;
    const std::string target = scratch.folder.file("TO"), index = scratch.folder.file("I");
    const std::function<std::int32_t()> works[] = {
        [&] { return lib.dDpack(&block, scratch.name.c_str()); },
        [&] { return lib.dDsort(&block, scratch.name.c_str(), target.c_str(), "TEXT"); },
        [&] {
          OpenTable table(block, scratch.name, 0, 1);
          return lib.dNindex(table, index.c_str(), "NUMBER", 0);
        }};
    for (const auto& work : works) {
      Onlooker host;
      OpenTable table(block, other.name, 1, 1);
      host.table = table;
      lib.dUsetprog(&block, Onlooker::told, &host);
      EXPECT_EQ(0, work()) << block.detail;
      EXPECT_EQ(ScratchTable::record(1).substr(flags) + (flags != 0 ? "#" : ""), host.seen);
      lib.dUsetprog(&block, nullptr, nullptr);
    }
    block.runtime_flags = 0;
    OpenTable sorted(block, target, 0, 1);
    std::string record(kLength, '#');
    EXPECT_EQ(0, lib.dDgetrec(sorted, 1500, record.data()));
    EXPECT_EQ(ScratchTable::record(1500), record);
  }
}

TEST(Maintenance, what_somebody_else_has_locked_is_refused) {
  const struct {
    std::int32_t (*lock)(VqTable*);
    std::int32_t detail;
  } cases[] = {{[](VqTable* table) { return lib.dDlkfil(table); }, 483},
               {[](VqTable* table) { return lib.dDlkapp(table); }, 483},
               {[](VqTable* table) { return lib.dDlkrec(table, 3); }, 484}};
  for (const auto& c : cases) {
    ScratchTable scratch, source;
    scratch.append(1, 5);
    source.append(1, 5);
    VqBlock block = scratch.block;
    VqTable* const other = lib.dDopen(&block, scratch.name.c_str(), 2, 0);
    ASSERT_EQ(0, c.lock(other));
    const std::string before = read_file(scratch.file);
    EXPECT_EQ(-38, lib.dDpack(&scratch.block, scratch.name.c_str()));
    EXPECT_EQ(c.detail, +scratch.block.detail);
    EXPECT_EQ(-38, lib.dDcat(&scratch.block, scratch.name.c_str(), source.name.c_str()));
    EXPECT_EQ(before, read_file(scratch.file));
    EXPECT_EQ(0, lib.dDcat(&scratch.block, source.name.c_str(), scratch.name.c_str()))
        << "the source is only read";
    EXPECT_EQ(0, lib.dDclose(other));
    scratch.block.index_kind = 4;
    EXPECT_EQ(0, lib.dDpack(&scratch.block, scratch.name.c_str())) << "a scheme without locks";
  }
}

TEST(Maintenance, temporary_directories_may_have_semicolons) {
  ScratchTable scratch;
  scratch.append(1, 50);
  const auto directory = scratch.folder.path() / "A;B";
  std::filesystem::create_directory(directory);
  ASSERT_EQ(0, lib.dUtmpdir(&scratch.block, directory.string().c_str()));
  EXPECT_EQ(0, lib.dDpack(&scratch.block, scratch.name.c_str())) << +scratch.block.detail;
  EXPECT_EQ(0, lib.dDsort(&scratch.block, scratch.name.c_str(), scratch.folder.file("S").c_str(),
                          "NUMBER/D"));
  EXPECT_TRUE(std::filesystem::is_empty(directory));
  EXPECT_EQ(3u, scratch.folder.list().size());
}

TEST(Detach, clears_the_production_flag_only) {
  ScratchTable scratch;
  scratch.append(1, 2);
  std::string bytes = read_file(scratch.file);
  EXPECT_EQ(0, lib.dDapart(&scratch.block, scratch.name.c_str()));
  bytes[28] = '\x7F';
  bytes[0] = '\xF5';  // one of the two bits is enough here
  write_file(scratch.file, bytes);
  EXPECT_EQ(0, lib.dDapart(&scratch.block, scratch.name.c_str()));
  bytes[28] = 0;
  EXPECT_EQ(bytes, read_file(scratch.file));

  bytes[0] = '\x30';
  write_file(scratch.file, bytes);
  EXPECT_EQ("-3/102", codes(lib.dDapart(&scratch.block, scratch.name.c_str()), scratch.block));
  write_file(scratch.file, bytes.substr(0, 31));
  EXPECT_EQ("-17/101", codes(lib.dDapart(&scratch.block, scratch.name.c_str()), scratch.block));
}

}  // namespace
