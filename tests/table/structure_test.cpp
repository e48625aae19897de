// Tables as files: what create writes and refuses, and what open makes of headers.
#include "table/scratch_table.h"

namespace {

using namespace std::string_literals;

std::string descriptor(std::string name, char type, char length, char decimals) {
  name.resize(11, '\0');
  return name + type + "\0\0\0\0"s + length + decimals + std::string(14, '\0');
}

// Year, month and day as headers hold them.
std::string header_date() {
  std::int32_t month = 0, day = 0, year = 0;
  EXPECT_EQ(0, lib.dUtoday(&month, &day, &year));
  return {static_cast<char>(year - 1900), static_cast<char>(month), static_cast<char>(day)};
}

TEST(Create, writes_header_descriptors_and_nothing_behind) {
  TemporaryFolder folder;
  VqBlock block = block_of_kind(1);
  ASSERT_EQ(0, create_table(block, folder.file("people.dbf"),
                            {"name", "c10", "Amount_2", "N8.2", "_DUE", "D99 ignored"}));
  const std::string expected = "\x03"s + header_date() + "\0\0\0\0\x81\0\x1B\0"s +
                               std::string(20, '\0') + descriptor("NAME", 'C', 10, 0) +
                               descriptor("AMOUNT_2", 'N', 8, 2) + descriptor("_DUE", 'D', 8, 0) +
                               "\x0D";
  EXPECT_EQ(expected, read_file(folder.file("PEOPLE.DBF")));
}

TEST(Create, chooses_the_version_byte_by_dialect_and_memo_fields) {
  const struct {
    std::uint32_t kind;
    const char* type;
    unsigned char version;
  } cases[] = {{1, "C5", 0x03},    {4, "L", 0x03},   {8, "F20.18", 0x03}, {1, "M", 0x83},
               {16, "M", 0x83},    {2, "M", 0x8B},   {4, "M", 0x8B},      {7, "M", 0x8B},
               {4, "B", 0x8B},     {7, "G", 0x8B},   {8, "M", 0xF5},      {8, "P", 0xF5},
               {32776, "P", 0xF5}, {4, "C254", 0x03}};
  for (const auto& c : cases) {
    TemporaryFolder folder;
    VqBlock block = block_of_kind(c.kind);
    ASSERT_EQ(0, create_table(block, folder.file("T"), {"F", c.type})) << c.kind << c.type;
    const std::string bytes = read_file(folder.file("T.DBF"));
    EXPECT_EQ(c.version, static_cast<unsigned char>(bytes[0])) << c.kind << c.type;
    OpenTable table(block, folder.file("T"), 0, 1);
    EXPECT_NE(nullptr, static_cast<VqTable*>(table)) << c.kind << c.type;
  }
}

TEST(Create, refuses_bad_fields_and_leaves_no_file) {
  using Fields = std::vector<const char*>;
  Fields too_long;  // 16 fields of 250 and one of 1: 4001 bytes
  static const char kNames[] = "A\0B\0C\0D\0E\0F\0G\0H\0I\0J\0K\0L\0M\0N\0O\0P\0Q";
  for (int i = 0; i < 16; ++i) too_long.insert(too_long.end(), {&kNames[2 * i], "C250"});
  const Fields fits = too_long;
  too_long.insert(too_long.end(), {&kNames[32], "L"});
  const struct {
    std::uint32_t kind;
    Fields fields;
    std::int32_t result, detail;
  } cases[] = {{1, {}, -4, 151},
               {1, {"ELEVENCHARS", "C1"}, -4, 156},
               {1, {nullptr, "C1"}, -4, 156},
               {1, {"", "C1"}, -11, 157},
               {1, {"1ST", "C1"}, -11, 157},
               {1, {"A-B", "C1"}, -11, 157},
               {1, {"\xC4", "C1"}, -11, 157},
               {1, {"A", "C1", "B", "C1", "a", "C1"}, -11, 158},
               {1, {"A", "C"}, -4, 159},
               {1, {"A", "C0"}, -4, 159},
               {1, {"A", "C255"}, -4, 159},
               {1, {"A", "C99999999999999999999"}, -4, 159},
               {1, {"A", "N"}, -4, 160},
               {1, {"A", "N21"}, -4, 160},
               {1, {"A", "N5.4"}, -4, 160},
               {1, {"A", "N5.4294967295"}, -4, 160},
               {1, {"A", "F1.1"}, -4, 160},
               {1, {"A", ""}, -11, 161},
               {1, {"A", nullptr}, -11, 161},
               {1, {"A", "X"}, -11, 161},
               {1, {"A", "B"}, -11, 161},
               {8, {"A", "G"}, -11, 161},
               {4, {"A", "P"}, -11, 161},
               {1, too_long, -4, 162},
               {4, too_long, 0, 0},
               {8, too_long, 0, 0},
               {1, fits, 0, 0},
               {1, {"TENLETTERS", "N5.3"}, 0, 0}};
  for (const auto& c : cases) {
    TemporaryFolder folder;
    VqBlock block = block_of_kind(c.kind);
    const char* const none = nullptr;
    EXPECT_EQ(codes(c.result, c.detail),
              codes(lib.dDcreat(&block, folder.file("T").c_str(),
                                static_cast<std::int32_t>(c.fields.size() / 2),
                                c.fields.empty() ? &none : c.fields.data()),
                    block))
        << c.detail;
    EXPECT_EQ(c.result == 0 ? 1u : 0u, folder.list().size()) << c.detail;
    write_file(folder.file("T.DBF"), "what was there");
    lib.dDcreat(&block, folder.file("T").c_str(), static_cast<std::int32_t>(c.fields.size() / 2),
                c.fields.empty() ? &none : c.fields.data());
    EXPECT_EQ(c.result == 0, read_file(folder.file("T.DBF")) != "what was there") << c.detail;
  }
  VqBlock block = block_of_kind(1);
  EXPECT_EQ("-5/153", codes(create_table(block, "/no/such/folder/T", {"A", "C1"}), block));
}

TEST(Create, takes_as_many_fields_as_the_dialect_allows) {
  for (const auto& [kind, most] : {std::pair{1u, 255}, {4u, 1024}, {8u, 255}, {32776u, 255}}) {
    TemporaryFolder folder;
    VqBlock block = block_of_kind(kind);
    std::vector<std::string> names;
    for (int i = 0; i <= most; ++i) names.push_back("F" + std::to_string(i));
    std::vector<const char*> fields;
    for (const std::string& name : names) fields.insert(fields.end(), {name.c_str(), "C3"});
    EXPECT_EQ("-4/151", codes(create_table(block, folder.file("T"), fields), block));
    fields.resize(fields.size() - 2);
    ASSERT_EQ(0, create_table(block, folder.file("T"), fields));
    EXPECT_EQ(33u + 32u * static_cast<unsigned>(most), read_file(folder.file("T.DBF")).size());

    OpenTable table(block, folder.file("T"), 0, 1);
    EXPECT_EQ(most, lib.dDfields(table));
    EXPECT_EQ(1 + 3 * most, lib.dDreclen(table));
    for (int i = 1; i <= most; ++i) {
      ASSERT_EQ(i, lib.dDfldno(table, names[static_cast<std::size_t>(i) - 1].c_str()));
    }
  }
}

TEST(Open, describes_the_table) {
  ScratchTable scratch;
  scratch.append(1, 3);
  OpenTable table(scratch.block, scratch.folder.file("t.dbf;ignored"), 1, 0);
  ASSERT_NE(nullptr, static_cast<VqTable*>(table));
  char name[11];
  EXPECT_EQ(2, lib.dDfields(table));
  EXPECT_EQ(0, lib.dDfldnm(table, 2, name));
  EXPECT_STREQ("NUMBER", name);
  EXPECT_EQ(2, lib.dDfldno(table, "Number"));
  EXPECT_EQ(15, lib.dDreclen(table));
  EXPECT_EQ(3u, record_count(table));
  std::int32_t today[3], updated[3];
  ASSERT_EQ(0, lib.dUtoday(&today[0], &today[1], &today[2]));
  EXPECT_EQ(0, lib.dDdate(table, &updated[0], &updated[1], &updated[2]));
  EXPECT_EQ(std::to_array(today), std::to_array(updated));
  EXPECT_EQ(0, lib.dDdate(table, nullptr, nullptr, nullptr));

  VqField field;
  EXPECT_EQ(0, lib.dDfield(table, 2, &field));
  EXPECT_STREQ("NUMBER", field.name);
  EXPECT_EQ('N', field.type);
  EXPECT_EQ((std::array{5u, 0u, 10u}), (std::array{field.length, field.decimals, field.offset}));

  for (const std::int32_t number : {0, 3, -1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(-4, lib.dDfldnm(table, number, name));
    EXPECT_EQ(-4, lib.dDfield(table, number, &field));
  }
  EXPECT_EQ(222, +scratch.block.detail);
  for (const char* unknown : {"", "TEX", "TEXTS", "t\xE5xt", "MUCHLONGERTHANANAME"}) {
    scratch.block.detail = 0;
    EXPECT_EQ("-4/222", codes(lib.dDfldno(table, unknown), scratch.block)) << unknown;
  }
}

TEST(Open, judges_headers_by_code_and_detail) {
  struct Patch {
    std::size_t offset;
    std::string bytes;
  };
  struct Case {
    const char* what;
    std::uint32_t kind;
    std::vector<Patch> patches;
    std::size_t length;  // the file is cut to
    std::int32_t result, detail;
  };
  constexpr std::size_t kWhole = 127;  // with two records
  const Case cases[] = {
      {"sound", 1, {}, kWhole, 0, 0},
      {"any table bits", 1, {{0, "\x7B"}}, kWhole, 0, 0},
      {"FoxPro memo byte, FoxPro dialect", 8, {{0, "\xF5"}}, kWhole, 0, 0},
      {"FoxPro memo byte", 4, {{0, "\xF5"}}, kWhole, -3, 10046},
      {"version 30", 8, {{0, "\x30"}}, kWhole, -3, 10046},
      {"version 02", 1, {{0, "\x02"}}, kWhole, -3, 10046},
      {"encrypted before version", 1, {{0, "\x30"}, {15, "\x01"}}, kWhole, -15, 10045},
      {"empty file", 1, {}, 0, -17, 311},
      {"half a header", 1, {}, 31, -17, 311},
      {"header length 64", 1, {{8, "\x40\0"s}}, kWhole, -3, 312},
      {"record length 0", 1, {{10, "\0\0"s}}, kWhole, -3, 312},
      {"descriptors cut off", 1, {}, 70, -17, 10044},
      {"header longer than the file", 1, {{8, "\xFF\xFF"}}, kWhole, -17, 10044},
      {"fields longer than the record", 1, {{10, "\x0E\0"s}}, kWhole, -3, 10048},
      {"end byte first", 1, {{32, "\x0D"}}, kWhole, -3, 10048},
      {"end byte after one field", 1, {{64, "\x0D"}}, kWhole, 0, 0},
      {"record longer than its fields", 1, {{10, "\x10\0"s}}, kWhole, 0, 0},
      {"count beyond the file", 1, {{4, "\xFF\xFF\xFF\xFF"}}, kWhole, 0, 0}};
  ScratchTable scratch;
  scratch.append(1, 2);
  const std::string sound = read_file(scratch.file);
  ASSERT_EQ(kWhole + 1, sound.size());
  for (const Case& c : cases) {
    std::string bytes = sound;
    for (const Patch& patch : c.patches)
      bytes.replace(patch.offset, patch.bytes.size(), patch.bytes);
    write_file(scratch.file, bytes.substr(0, c.length));
    scratch.block = block_of_kind(c.kind);
    OpenTable table(scratch.block, scratch.name, 0, 1);
    EXPECT_EQ(c.result, +scratch.block.result) << c.what;
    EXPECT_EQ(c.detail, +scratch.block.detail) << c.what;
    EXPECT_EQ(c.result == 0, table != nullptr) << c.what;
  }

  scratch.block = block_of_kind(1);
  EXPECT_EQ("-5/10421",
            refusal(lib.dDopen(&scratch.block, scratch.folder.file("NONE").c_str(), 0, 1),
                    scratch.block));
  EXPECT_EQ(nullptr, lib.dDopen(&scratch.block, scratch.folder.path().string().c_str(), 0, 1));
  EXPECT_LT(+scratch.block.result, 0) << "a folder is no table";
  write_file(scratch.file, sound);
  for (const std::int32_t buffers : {INT32_MAX, 0x40000000}) {
    EXPECT_EQ("-14/10047",
              refusal(lib.dDopen(&scratch.block, scratch.name.c_str(), 0, buffers), scratch.block));
  }
}

TEST(Open, takes_names_padded_with_blanks_or_filling_their_place) {
  ScratchTable scratch;
  std::string bytes = read_file(scratch.file);
  bytes.replace(32, 11, "text       ");
  bytes.replace(64, 11, "ABCDEFGHIJK");
  write_file(scratch.file, bytes);
  OpenTable table(scratch.block, scratch.name, 0, 1);
  EXPECT_EQ(1, lib.dDfldno(table, "TEXT"));
  EXPECT_EQ(2, lib.dDfldno(table, "abcdefghij"));
}

TEST(Describe, mode_tells_memo_layout_production_index_and_encryption) {
  const struct {
    std::uint32_t kind;
    char version, production, encrypted;
    std::int32_t mode;
  } cases[] = {{1, '\x03', 0, 0, 0},      {1, '\x03', 1, 0, 2},      {1, '\x8B', 0, 0, 4},
               {1, '\x83', 0, 0, 8},      {1, '\x83', 0, 1, 8 + 16}, {1, '\xFB', 1, 1, 4 + 2 + 16},
               {8, '\xF5', 1, 0, 32 + 2}, {1, '\xF5', 0, 0, -3},     {8, '\x30', 0, 0, -3}};
  ScratchTable scratch;
  std::string bytes = read_file(scratch.file);
  for (const auto& c : cases) {
    bytes[0] = c.version;
    bytes[15] = c.encrypted;
    bytes[28] = c.production;
    write_file(scratch.file, bytes);
    scratch.block = block_of_kind(c.kind);
    EXPECT_EQ(c.mode, lib.dDmode(&scratch.block, scratch.name.c_str()));
    EXPECT_EQ(c.mode < 0 ? 282 : 0, +scratch.block.detail);
  }
  write_file(scratch.file, bytes.substr(0, 49));
  EXPECT_EQ("-17/281", codes(lib.dDmode(&scratch.block, scratch.name.c_str()), scratch.block));
}

TEST(Describe, memory_need_follows_the_block_size_rule) {
  const struct {
    std::int32_t record_length, block_size;
  } cases[] = {{2, 1024},     {100, 1000},   {255, 1020},  {256, 2048},  {300, 1800},
               {4001, 16004}, {8191, 32764}, {8192, 8192}, {9000, 9000}, {65501, 65501}};
  ScratchTable scratch;
  std::string bytes = read_file(scratch.file);
  const auto need = [&](std::int32_t buffers) {
    return lib.dDbuffs(&scratch.block, scratch.name.c_str(), buffers);
  };
  for (const auto& c : cases) {
    bytes[10] = static_cast<char>(c.record_length & 255);
    bytes[11] = static_cast<char>(c.record_length >> 8);
    write_file(scratch.file, bytes);
    EXPECT_EQ(467 + 14 * 2, need(0));
    EXPECT_EQ(467 + 14 * 2 + c.block_size + 30, need(-7)) << c.record_length;
    EXPECT_EQ(467 + 14 * 2 + (c.block_size + 30) * 1000, need(1000));
  }
  EXPECT_EQ("-14/10047", codes(need(INT32_MAX), scratch.block));
}

TEST(FileName, expansion_adds_an_extension_and_capitals) {
  struct Case {
    const char *name, *expanded;
  };
  const std::string longest(123, 'x');
  const Case cases[] = {
      {"ABC", "ABC.DBF"},      {"abc.x", "ABC.X"},   {"C:\\DIR.X\\ABC", "C:\\DIR.X\\ABC.DBF"},
      {"ABC.", "ABC."},        {"abc;1", "ABC.DBF"}, {"dir.x/abc", "DIR.X/ABC.DBF"},
      {"C:abc", "C:ABC.DBF"},  {"a.b;c.d", "A.B"},   {"", ".DBF"},
      {"\xE4.dbf", "\xE4.DBF"}};
  char out[128];
  for (const Case& c : cases) {
    EXPECT_EQ(out, lib.dUexpnm(c.name, "Dbf", out));
    EXPECT_STREQ(c.expanded, out);
  }
  EXPECT_EQ(127u, std::strlen(lib.dUexpnm(longest.c_str(), "DBF", out)));
  EXPECT_STREQ("", lib.dUexpnm((longest + "x").c_str(), "DBF", out));
  EXPECT_STREQ("", lib.dUexpnm(nullptr, "DBF", out));
}

}  // namespace
