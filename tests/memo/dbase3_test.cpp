#include "support/memo_files.h"

namespace {

class Dbase3Memo : public ::testing::Test {
 protected:
  void SetUp() override { create_memos(block_, name_, MemoFile::Layout::dbase3); }

  MemoFile open() { return MemoFile(block_, name_, MemoFile::Layout::dbase3); }
  std::string bytes() const { return read_file(folder_.file("ORDERS.DBT")); }

  TemporaryFolder folder_;
  VqBlock block_ = memo_block(1);
  std::string name_ = folder_.file("ORDERS");
};

TEST_F(Dbase3Memo, create_writes_one_block_and_marks_the_table) {
  const struct {
    std::uint8_t version, marked;
  } cases[] = {{0x03, 0x83}, {0x8B, 0x83}, {0x83, 0x83}, {0xF5, 0xF5}};
  for (const auto& c : cases) {
    write_file(folder_.file("ORDERS.DBF"), memo_table(c.version, 1, {}));
    ASSERT_EQ(0, lib.dTcreat3(&block_, name_.c_str()));
    EXPECT_EQ(le32(1) + std::string(508, '\0'), bytes());
    EXPECT_EQ(memo_table(c.marked, 1, {}), read_file(folder_.file("ORDERS.DBF")));
  }
  EXPECT_EQ("-5/2201", codes(lib.dTcreat3(&block_, folder_.file("NO/ORDERS").c_str()), block_));
}

TEST_F(Dbase3Memo, every_write_is_a_whole_new_memo_behind_all_others) {
  MemoFile memo = open();
  std::string reference = kNoMemo;
  const std::string one_block(510, 'a'), two_blocks(511, 'b'), long_text(40000, 'c');
  std::string expected = le32(1) + std::string(508, '\0');
  const auto wrote = [&](const std::string& text) {
    expected.resize(expected.size() / 512 * 512 + (expected.size() % 512 == 0 ? 0 : 512), '\0');
    expected += text + "\x1A\x1A";
    return expected;
  };
  ASSERT_EQ(0, memo.write_new(one_block, reference));
  EXPECT_EQ("0000000001", reference);
  EXPECT_EQ(wrote(one_block), bytes());
  std::int32_t moved = 0;
  ASSERT_EQ(0, memo.append(two_blocks, reference, &moved));
  EXPECT_EQ(1, moved);
  EXPECT_EQ("0000000002", reference);
  EXPECT_EQ(wrote(two_blocks), bytes());
  ASSERT_EQ(0, memo.replace(long_text, reference, &moved));
  EXPECT_EQ("0000000004", reference);
  EXPECT_EQ(wrote(long_text), bytes());
  ASSERT_EQ(0, lib.dTputmm3(memo.handle(), "z", reference.data()));
  EXPECT_EQ("0000000083", reference);
  EXPECT_EQ(wrote("z"), bytes());

  std::string text;
  EXPECT_EQ(0, memo.read("         1", text));
  EXPECT_EQ(one_block, text);
  EXPECT_EQ(0, memo.read("         4", text));
  EXPECT_EQ(long_text, text);
  EXPECT_EQ(0, memo.close());
  EXPECT_EQ(le32(84) + expected.substr(4), bytes());
}

TEST_F(Dbase3Memo, in_a_shared_mode_the_next_free_block_is_stored_with_every_write) {
  MemoFile one(block_, name_, MemoFile::Layout::dbase3, 2);
  MemoFile two(block_, name_, MemoFile::Layout::dbase3, 4);
  std::string first = kNoMemo, second = kNoMemo;
  ASSERT_EQ(0, one.write_new(std::string(600, 'a'), first));
  EXPECT_EQ(3u, read_le32(bytes(), 0));
  ASSERT_EQ(0, two.write_new("b", second));
  EXPECT_EQ("0000000003", second);
  EXPECT_EQ(4u, read_le32(bytes(), 0));
  EXPECT_EQ(0, one.close());
  EXPECT_EQ(4u, read_le32(bytes(), 0));
}

TEST_F(Dbase3Memo, a_text_ends_at_its_first_end_mark_zero_byte_or_with_the_file) {
  const std::string text(3000, 't');
  const struct {
    std::string stored, read;
  } cases[] = {{"one\x1Atwo\x1A\x1A", "one"},
               {std::string("one\0two", 7), "one"},
               {std::string("one\0two\x1A", 8), "one"},
               {"\x1A\x1A", ""},
               {text + "\x1A", text},
               {text, text},
               {text + std::string(9000, 'u') + '\0', text + std::string(9000, 'u')}};
  for (const auto& c : cases) {
    write_file(folder_.file("ORDERS.DBT"), le32(9) + std::string(508, '\0') + c.stored);
    MemoFile memo = open();
    std::string got(c.read.size() + 1, '?');
    std::int32_t length = -1, done = 0;
    // Neither the offset nor the maximum counts here.
    EXPECT_EQ(0, lib.dTgetmm3(memo.handle(), "0000000001", 2, 1, got.data(), &length, &done));
    EXPECT_EQ(static_cast<std::int32_t>(c.read.size()), length);
    EXPECT_EQ(c.read + '\0', got);
    EXPECT_EQ(1, done);
    EXPECT_EQ(0, memo.read("0000000001", got));
    EXPECT_EQ(c.read, got);
  }
}

TEST_F(Dbase3Memo, what_cannot_be_written_or_read_is_refused) {
  MemoFile memo = open();
  std::string reference = kNoMemo;
  std::int32_t moved = 0, length = 0;
  char buffer[8] = {};
  EXPECT_EQ("-4/2283",
            codes(lib.dTupdmm3(memo.handle(), 0, 0, "", reference.data(), &moved), block_));
  EXPECT_EQ(kNoMemo, reference);
  EXPECT_EQ("-4/10162", codes(lib.dTmemsz3(memo.handle(), kNoMemo.c_str(), &length), block_));
  EXPECT_EQ("-17/2243", codes(lib.dTmemsz3(memo.handle(), "0000000001", &length), block_));
  EXPECT_EQ(
      "-17/2223",
      codes(lib.dTgetmm3(memo.handle(), "0000000001", 0, 1, buffer, &length, nullptr), block_));
  EXPECT_EQ(
      "-17/10163",
      codes(lib.dTgetmm3(memo.handle(), "9999999999", 0, 1, buffer, &length, nullptr), block_));

  MemoFile reader(block_, name_, MemoFile::Layout::dbase3, 1);
  EXPECT_EQ("-16/2282", codes(reader.write_new("text", reference), block_));
  write_file(folder_.file("SHORT.DBT"), "0123456789");
  EXPECT_EQ("-3/2264", refusal(lib.dTopen3(&block_, folder_.file("SHORT").c_str(), 0), block_));
}

// The header is stored when the file is closed; a process that dies before leaves an old one, which
// must not cost the memos that were written since.
TEST_F(Dbase3Memo, an_old_header_does_not_lead_to_overwritten_memos) {
  std::string first = kNoMemo, second = kNoMemo, text;
  {
    MemoFile memo = open();
    ASSERT_EQ(0, memo.write_new(std::string(600, 'f'), first));
    EXPECT_EQ(1u, read_le32(bytes(), 0));
  }
  EXPECT_EQ(3u, read_le32(bytes(), 0));
  for (const std::uint32_t next_free : {0u, 1u, 2u, 3u}) {
    write_bytes(folder_.file("ORDERS.DBT"), 0, le32(next_free));
    MemoFile memo = open();
    ASSERT_EQ(0, memo.write_new("second", second));
    EXPECT_EQ(0, memo.read(first, text));
    EXPECT_EQ(std::string(600, 'f'), text);
    EXPECT_EQ(0, memo.read(second, text));
    EXPECT_EQ("second", text);
  }
  write_bytes(folder_.file("ORDERS.DBT"), 0, le32(0x7FFFFFFF));
  const std::string before = bytes();
  MemoFile memo = open();
  EXPECT_EQ("-3/2284", codes(memo.write_new("third", second), block_));
  EXPECT_EQ(before, bytes());
}

}  // namespace
