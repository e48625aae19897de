#include "support/memo_files.h"

namespace {

std::string text_of(std::size_t size) {
  std::string text(size, ' ');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 31 + i / 256);
  return text;
}

// A table, its new memo file, and the file opened.
class Dbase4Memo : public ::testing::Test {
 protected:
  void create(std::uint32_t block_setting = 1) {
    block_.memo_block_setting = block_setting;
    create_memos(block_, name_);
  }

  std::string bytes() const { return read_file(folder_.file("ORDERS.DBT")); }

  // The links of the free chain, from the header's on.
  std::vector<std::uint32_t> chain() const {
    const std::string file = bytes();
    std::vector<std::uint32_t> links = {read_le32(file, 0)};
    while (std::size_t{links.back()} * 512 < file.size()) {
      links.push_back(read_le32(file, std::size_t{links.back()} * 512));
    }
    return links;
  }

  TemporaryFolder folder_;
  VqBlock block_ = memo_block(2);
  std::string name_ = folder_.file("ORDERS");
};

TEST_F(Dbase4Memo, create_writes_the_header_and_marks_the_table) {
  const struct {
    std::uint8_t version, marked;
    std::uint32_t setting, block_size;
  } cases[] = {{0x03, 0x8B, 1, 512},
               {0x83, 0x8B, 0, 512},
               {0x8B, 0x8B, 4, 2048},
               {0xFB, 0xFB, 32, 16384},
               {0x02, 0x8B, 40, 16384}};
  for (const auto& c : cases) {
    block_.memo_block_setting = c.setting;
    write_file(folder_.file("ORDERS.DBF"), memo_table(c.version, 1, {}));
    ASSERT_EQ(0, lib.dTcreat(&block_, (folder_.file("Long_notes") + ";" + name_).c_str()));
    EXPECT_EQ(le32(1) + le32(0) + "LONG_NOT" + std::string("\0\0\2\1", 4) + le32(c.block_size),
              read_file(folder_.file("LONG_NOTES.DBT")));
    EXPECT_EQ(memo_table(c.marked, 1, {}), read_file(folder_.file("ORDERS.DBF")));
  }
}

TEST_F(Dbase4Memo, a_failed_create_leaves_no_memo_file) {
  const struct {
    const char* name;
    const char* table;
    std::int32_t result, detail;
  } cases[] = {{"NOWHERE/ORDERS", "", VQ_E_NOT_FOUND, 2041},
               {"OTHER", "", VQ_E_NOT_FOUND, 10421},
               {"ORDERS", "", VQ_E_IO, 2051},
               {"ORDERS", "\x30", VQ_E_FORMAT, 2052}};
  for (const auto& c : cases) {
    write_file(folder_.file("ORDERS.DBF"), c.table);
    EXPECT_EQ(codes(c.result, c.detail),
              codes(lib.dTcreat(&block_, folder_.file(c.name).c_str()), block_));
    EXPECT_EQ(std::vector<std::string>{"ORDERS.DBF"}, folder_.list());
  }
}

TEST_F(Dbase4Memo, a_memo_takes_the_blocks_that_its_text_and_eight_bytes_need) {
  const struct {
    std::uint32_t setting;
    std::size_t length;
    std::uint32_t blocks;
  } cases[] = {{1, 0, 1},    {1, 1, 1},       {1, 504, 1},    {1, 505, 2},
               {1, 1016, 2}, {1, 70000, 137}, {32, 16376, 1}, {32, 16377, 2}};
  for (const auto& c : cases) {
    create(c.setting);
    const std::size_t block_size = 512 * c.setting;
    MemoFile memo(block_, name_);
    std::string reference = kNoMemo;
    const std::string text = text_of(c.length);
    ASSERT_EQ(0, memo.write_new(text, reference)) << c.length;
    EXPECT_EQ("0000000001", reference);
    EXPECT_EQ(1 + c.blocks, read_le32(bytes(), 0)) << c.length;
    const std::string gap(block_size - 24, '\0');
    EXPECT_EQ(gap + "\xFF\xFF\x08" + '\0' + le32(static_cast<std::uint32_t>(c.length + 8)) + text,
              bytes().substr(24))
        << c.length;
    std::string back;
    EXPECT_EQ(0, memo.read(reference, back));
    EXPECT_EQ(text, back);
    EXPECT_EQ("", fault_in_dbase4(bytes(), {reference}));
  }
}

TEST_F(Dbase4Memo, a_change_stays_in_place_while_the_blocks_suffice) {
  const struct {
    bool append;
    std::size_t before, given;
    bool moves;
  } cases[] = {{true, 100, 1, false},   {true, 503, 1, false},     {true, 504, 1, true},
               {true, 0, 504, false},   {true, 600, 9000, true},   {true, 20000, 40000, true},
               {true, 8192, 505, true}, {true, 30000, 200, false}, {false, 100, 504, false},
               {false, 504, 505, true}, {false, 505, 504, true},   {false, 20000, 20100, false},
               {false, 40000, 1, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.append << " " << c.before << " " << c.given);
    create();
    MemoFile memo(block_, name_);
    std::string changed = kNoMemo, neighbour = kNoMemo;
    ASSERT_EQ(0, memo.write_new(text_of(c.before), changed));
    ASSERT_EQ(0, memo.write_new("neighbour", neighbour));
    const std::string given(c.given, 'g');
    const std::string old = changed;
    std::int32_t moved = -1;
    ASSERT_EQ(
        0, c.append ? memo.append(given, changed, &moved) : memo.replace(given, changed, &moved));
    EXPECT_EQ(c.moves ? 1 : 0, moved);
    EXPECT_EQ(c.moves, old != changed);
    std::string back;
    EXPECT_EQ(0, memo.read(changed, back));
    EXPECT_EQ(c.append ? text_of(c.before) + given : given, back);
    EXPECT_EQ(0, memo.read(neighbour, back));
    EXPECT_EQ("neighbour", back);
    EXPECT_EQ("", fault_in_dbase4(bytes(), {changed, neighbour}));
  }
}

TEST_F(Dbase4Memo, freed_runs_are_taken_first_fit_from_the_front_of_the_chain) {
  create();
  std::string a = kNoMemo, b = kNoMemo, c = kNoMemo, d = kNoMemo;
  const auto blocks = [](std::size_t count) { return text_of(512 * count - 8); };
  {
    MemoFile memo(block_, name_);
    ASSERT_EQ(0, memo.write_new(blocks(1), a));  // 1
    ASSERT_EQ(0, memo.write_new(blocks(4), b));  // 2 to 5
    ASSERT_EQ(0, memo.write_new(blocks(2), c));  // 6 and 7
    EXPECT_EQ(std::vector<std::uint32_t>{8}, chain());
    // Replaced texts find their new place before the old one is free.
    ASSERT_EQ(0, memo.replace(blocks(3), b));
    EXPECT_EQ("0000000008", b);
    EXPECT_EQ((std::vector<std::uint32_t>{2, 11}), chain());
    ASSERT_EQ(0, memo.replace(blocks(1), c));
    EXPECT_EQ("0000000002", c);
    EXPECT_EQ((std::vector<std::uint32_t>{6, 3, 11}), chain());
  }
  // What another handle reads of the chain is the same.
  MemoFile memo(block_, name_);
  ASSERT_EQ(0, memo.write_new(blocks(3), d));
  EXPECT_EQ("0000000003", d);
  EXPECT_EQ((std::vector<std::uint32_t>{6, 11}), chain());
  ASSERT_EQ(0, memo.append("x", a));
  EXPECT_EQ("0000000006", a);
  EXPECT_EQ((std::vector<std::uint32_t>{1, 11}), chain());
  EXPECT_EQ("", fault_in_dbase4(bytes(), {a, b, c, d}));
}

// The last memo ends so close behind the beginning of its last block that a free run of it reaches
// farther.
TEST_F(Dbase4Memo, what_is_left_of_a_run_at_the_end_of_the_file_stays_free) {
  for (const std::uint32_t mode : {0u, 2u}) {
    create();
    MemoFile memo(block_, name_, MemoFile::Layout::dbase4, mode);
    std::string a = kNoMemo, b = kNoMemo, c = kNoMemo, d = kNoMemo;
    ASSERT_EQ(0, memo.write_new(text_of(1000), a));  // 1 and 2
    ASSERT_EQ(0, memo.replace("short", a));          // 3
    ASSERT_EQ(0, memo.write_new(text_of(1019), b));  // 4, 5 and three bytes of 6
    ASSERT_EQ(0, memo.replace(text_of(1000), b));    // 1 and 2
    ASSERT_EQ(0, memo.write_new(text_of(1000), c));  // 4 and 5
    ASSERT_EQ(0, memo.write_new(text_of(1000), d));  // 7 and 8
    EXPECT_EQ("", fault_in_dbase4(bytes(), {a, b, c, d}));
    EXPECT_EQ((std::vector<std::uint32_t>{6, 9}), chain());
    EXPECT_EQ(1u, read_le32(bytes(), 6 * 512 + 4));
  }
}

// In every mode: what an idle handle does when it closes must not touch what others have added.
TEST_F(Dbase4Memo, the_end_of_the_chain_is_stored_with_every_memo) {
  for (const std::uint32_t mode : {0u, 2u, 4u}) {
    create();
    MemoFile idle(block_, name_, MemoFile::Layout::dbase4, mode);
    MemoFile other(block_, name_, MemoFile::Layout::dbase4, 2);
    std::vector<std::string> references;
    const auto write_with = [&](MemoFile& file) {
      references.push_back(kNoMemo);
      ASSERT_EQ(0, file.write_new(text_of(1500), references.back()));
      ASSERT_EQ("", fault_in_dbase4(bytes(), references));
    };
    for (int i = 0; i < 30; ++i) write_with(idle);
    for (int i = 0; i < 3; ++i) write_with(other);
    EXPECT_EQ(0, idle.close());
    write_with(other);
    EXPECT_EQ(1u + 34 * 3, read_le32(bytes(), 0));
  }
}

TEST_F(Dbase4Memo, get_reads_a_piece_of_the_text_and_ends_it) {
  create();
  MemoFile memo(block_, name_);
  std::string reference = kNoMemo, empty = kNoMemo;
  const std::string text = text_of(20000);
  ASSERT_EQ(0, memo.write_new(text, reference));
  ASSERT_EQ(0, memo.write_new("", empty));
  const struct {
    bool empty;
    std::int32_t offset, max, result, detail, length;
  } cases[] = {{false, 0, 100000, 0, 0, 20000},
               {false, 0, 0, 0, 0, 0},
               {false, 500, 10, 0, 0, 10},
               {false, 503, 1, 0, 0, 1},
               {false, 504, 9000, 0, 0, 9000},
               {false, 19999, 5, 0, 0, 1},
               {false, 20000, 5, VQ_E_RANGE, 2064, 0},
               {false, -1, 5, VQ_E_RANGE, 2063, 0},
               {false, 0, -1, VQ_E_RANGE, 2063, 0},
               {true, 0, 5, 0, 0, 0},
               {true, 7, 5, 0, 0, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.offset << " " << c.max);
    std::string buffer(20002, '?');
    std::int32_t length = -1, done = 0;
    block_.detail = 0;
    EXPECT_EQ(codes(c.result, c.detail),
              codes(lib.dTgetmm(memo.handle(), (c.empty ? empty : reference).c_str(), c.offset,
                                c.max, buffer.data(), &length, &done),
                    block_));
    EXPECT_EQ(1, done);
    EXPECT_EQ(c.length, length);
    if (c.result != 0) continue;
    const auto got = static_cast<std::size_t>(c.length);
    const std::string expected =
        c.empty ? "" : text.substr(static_cast<std::size_t>(c.offset), got);
    EXPECT_EQ(expected + '\0' + '?', buffer.substr(0, got + 2));
  }
}

TEST_F(Dbase4Memo, a_reference_is_read_leniently) {
  create();
  MemoFile memo(block_, name_);
  std::string second;
  for (const char* const text : {"5 blocks", "6 more", "second"}) {
    second = kNoMemo;
    ASSERT_EQ(0, memo.write_new(text + std::string(*text == 's' ? 0 : 2500, '.'), second));
  }
  ASSERT_EQ("0000000011", second);
  const struct {
    const char* reference;
    std::int32_t result, detail;
  } cases[] = {{"11        ", 0, 0},
               {"        11", 0, 0},
               {"1 1       ", 0, 0},
               {" 0 0 0 1 1", 0, 0},
               {"000011x3  ", 0, 0},
               {"0000000011345", 0, 0},
               {"          ", VQ_E_RANGE, 10162},
               {"0000000000", VQ_E_RANGE, 10162},
               {"x2        ", VQ_E_RANGE, 10162},
               {nullptr, VQ_E_RANGE, 10162},
               {"9999999999", VQ_E_IO, 10163},
               {"4294967295", VQ_E_IO, 2083},
               {"12        ", VQ_E_IO, 2083}};
  for (const auto& c : cases) {
    std::int32_t size = -1;
    block_.detail = 0;
    EXPECT_EQ(codes(c.result, c.detail),
              codes(lib.dTmemosz(memo.handle(), c.reference, &size), block_))
        << c.reference;
    EXPECT_EQ(c.result == 0 ? 6 : -1, size) << c.reference;
  }
  EXPECT_EQ("-11/2101", codes(memo.write_new("third", second), block_));
}

TEST_F(Dbase4Memo, arguments_and_handles_that_do_not_fit_are_refused) {
  create();
  create_memos(block_, folder_.file("OLD"), MemoFile::Layout::dbase3);
  MemoFile reader(block_, name_, MemoFile::Layout::dbase4, 1);
  MemoFile other(block_, folder_.file("OLD"), MemoFile::Layout::dbase3);
  MemoFile memo(block_, name_);
  std::string reference = kNoMemo;
  ASSERT_EQ(0, memo.write_new("text", reference));

  char buffer[8] = {};
  char* const ref = reference.data();
  std::string no_memo = kNoMemo;
  char* const none = no_memo.data();
  std::int32_t out = 0;
  VqMemo* const m = memo.handle();
  VqMemo* const r = reader.handle();
  VqMemo* const o = other.handle();
  const struct {
    std::function<std::int32_t()> call;
    std::int32_t result, detail;
  } cases[] = {
      {[&] { return lib.dTaddmm(m, 0, "x", ref, &out); }, VQ_E_RANGE, 2003},
      {[&] { return lib.dTaddmm(m, 2147483647, "x", ref, &out); }, VQ_E_RANGE, 2003},
      {[&] { return lib.dTupdmm(m, 0, 0, "x", ref, &out); }, VQ_E_RANGE, 2163},
      {[&] { return lib.dTnewmm(m, 0, -1, "x", none); }, VQ_E_RANGE, 2103},
      {[&] { return lib.dTaddmm(r, 1, "x", ref, &out); }, VQ_E_READ_ONLY, 2002},
      {[&] { return lib.dTupdmm(r, 0, 1, "x", ref, &out); }, VQ_E_READ_ONLY, 2162},
      {[&] { return lib.dTnewmm(r, 0, 1, "x", none); }, VQ_E_READ_ONLY, 2112},
      {[&] { return lib.dTaddmm(o, 1, "x", ref, &out); }, VQ_E_NOT_ALLOWED, 2002},
      {[&] { return lib.dTupdmm(o, 0, 1, "x", ref, &out); }, VQ_E_NOT_ALLOWED, 2162},
      {[&] { return lib.dTnewmm(o, 0, 1, "x", none); }, VQ_E_NOT_ALLOWED, 2112},
      {[&] { return lib.dTgetmm(o, ref, 0, 1, buffer, &out, &out); }, VQ_E_NOT_ALLOWED, 2062},
      {[&] { return lib.dTmemosz(o, ref, &out); }, VQ_E_NOT_ALLOWED, 2082},
      {[&] { return lib.dTclose(o); }, VQ_E_NOT_ALLOWED, 2152},
      {[&] { return lib.dTupdmm3(m, 0, 0, "x", none, &out); }, VQ_E_NOT_ALLOWED, 2282},
      {[&] { return lib.dTgetmm3(m, ref, 0, 1, buffer, &out, &out); }, VQ_E_NOT_ALLOWED, 2222},
      {[&] { return lib.dTmemsz3(m, ref, &out); }, VQ_E_NOT_ALLOWED, 2242},
      {[&] { return lib.dTclose3(m); }, VQ_E_NOT_ALLOWED, 2272}};
  for (const auto& c : cases) {
    block_.detail = 0;
    EXPECT_EQ(codes(c.result, c.detail), codes(c.call(), block_)) << "case " << &c - cases;
  }
  std::string text;
  EXPECT_EQ(0, memo.read(reference, text));
  EXPECT_EQ("text", text);
  EXPECT_EQ(0, lib.dTmemotype(o, "", &out));
  EXPECT_EQ(1, out);
}

TEST_F(Dbase4Memo, open_and_memory_use_check_the_header) {
  std::string header = le32(1) + std::string(16, '\0');
  const struct {
    std::string bytes;
    std::int32_t opened, use;
    std::int32_t detail;  // of the memory use
  } cases[] = {{header + le32(512), 0, 979, 0},
               {header + le32(16384), 0, 16851, 0},
               {header + le32(1088), 0, 1555, 0},
               {header + le32(0), VQ_E_FORMAT, 979, 0},
               {header + le32(65535), VQ_E_FORMAT, VQ_E_FORMAT, 2091},
               {header + le32(65024), VQ_E_FORMAT, VQ_E_FORMAT, 2091},
               {header + le32(500), VQ_E_FORMAT, VQ_E_FORMAT, 2091},
               {header + "\0\2\0", VQ_E_FORMAT, VQ_E_IO, 2091},
               {"", VQ_E_FORMAT, VQ_E_IO, 2091}};
  for (const auto& c : cases) {
    write_file(folder_.file("ORDERS.DBT"), c.bytes);
    block_.result = block_.detail = 0;
    VqMemo* const memo = lib.dTopen(&block_, name_.c_str(), 0);
    EXPECT_EQ(c.opened == 0, memo != nullptr) << c.use;
    EXPECT_EQ(c.opened, block_.result) << c.use;
    EXPECT_EQ(c.opened == 0 ? 0 : 2146, block_.detail) << c.use;
    if (memo != nullptr) lib.dTclose(memo);
    block_.detail = 0;
    EXPECT_EQ(c.use, lib.dTmemuse(&block_, name_.c_str()));
    EXPECT_EQ(c.detail, block_.detail) << c.use;
  }
  EXPECT_EQ("-5/10421", refusal(lib.dTopen(&block_, folder_.file("NONE").c_str(), 0), block_));
}

}  // namespace
