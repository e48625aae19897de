#include "support/host.h"
#include "support/memo_files.h"

namespace {

using Layout = MemoFile::Layout;

class Compaction : public ::testing::Test {
 protected:
  void create(Layout layout, std::uint32_t kind) {
    block_ = memo_block(kind);
    lib.dUtmpdir(&block_, folder_.path().string().c_str());
    create_memos(block_, name_, layout);
  }

  // A table of two memo fields with these references, row by row.
  void write_table(Layout layout, const std::vector<std::string>& references, bool marked = true) {
    const std::uint8_t version = !marked ? 0x03 : layout == Layout::dbase4 ? 0x8B : 0x83;
    table_ = memo_table(version, 2, references);
    write_file(folder_.file("T.DBF"), table_);
  }

  std::string bytes() const { return read_file(folder_.file("T.DBT")); }

  TemporaryFolder folder_;
  VqBlock block_ = memo_block(2);
  std::string name_ = folder_.file("T");
  std::string table_;
};

TEST_F(Compaction, memos_lie_in_the_order_of_records_and_fields_in_every_dialect) {
  const struct {
    std::uint32_t kind;
    Layout layout;
    bool marked = true;
  } cases[] = {{7, Layout::dbase4, false}, {16, Layout::dbase3, false}, {1, Layout::dbase3},
               {2, Layout::dbase4},        {4, Layout::dbase4},         {7, Layout::dbase4},
               {16, Layout::dbase3},       {32776, Layout::dbase3},     {4, Layout::dbase3},
               {1, Layout::dbase4}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "kind " << c.kind);
    create(c.layout, c.kind);
    std::vector<std::string> references;
    {
      MemoFile memo(block_, name_, c.layout);
      for (const char* text : {"zero", "one", "two", "three", "four"}) {
        references.push_back(kNoMemo);
        ASSERT_EQ(0, memo.write_new(text, references.back()));
      }
      ASSERT_EQ(0, memo.replace(std::string(600, 'l'), references[4]));
    }
    // Blank, zero and left-aligned references name no memo; the last record is marked as deleted.
    write_table(c.layout,
                {references[4], references[2], kNoMemo, "         0", "1         ", "         2",
                 references[2], references[0]},
                c.marked);
    const std::size_t last_record = table_.size() - 1 - 25;
    table_[last_record] = '*';
    write_file(folder_.file("T.DBF"), table_);
    ASSERT_EQ(0, lib.dToptimize(&block_, name_.c_str())) << block_.detail;
    table_[0] = static_cast<char>(c.layout == Layout::dbase4 ? 0x8B : 0x83);
    EXPECT_EQ(table_, read_file(folder_.file("T.DBF")));
    EXPECT_EQ((std::vector<std::string>{"T.DBF", "T.DBT"}), folder_.list());

    MemoFile memo(block_, name_, c.layout);
    std::string text;
    const std::pair<std::uint32_t, std::string> expected[] = {
        {1, std::string(600, 'l')}, {3, "two"}, {4, "one"}, {5, "two"}, {6, "zero"}};
    std::vector<std::string> new_references;
    for (const auto& [number, memo_text] : expected) {
      new_references.push_back(reference_to(number));
      EXPECT_EQ(0, memo.read(new_references.back(), text));
      EXPECT_EQ(memo_text, text);
    }
    EXPECT_EQ(7u, read_le32(bytes(), 0));
    if (c.layout == Layout::dbase4) {
      EXPECT_EQ("", fault_in_dbase4(bytes(), new_references));
      EXPECT_EQ(std::string("T\0\0\0\0\0\0\0", 8), bytes().substr(8, 8));
    }
  }
}

TEST_F(Compaction, a_file_without_memos_becomes_its_header_in_the_present_block_size) {
  create(Layout::dbase4, 2);
  std::string reference = kNoMemo;
  {
    MemoFile memo(block_, name_);
    ASSERT_EQ(0, memo.write_new("lost", reference));
  }
  write_table(Layout::dbase4, {kNoMemo, kNoMemo});
  block_.memo_block_setting = 3;
  ASSERT_EQ(0, lib.dToptimize(&block_, name_.c_str()));
  EXPECT_EQ(24u, bytes().size());
  EXPECT_EQ(1536u, read_le32(bytes(), 20));

  create(Layout::dbase3, 1);
  write_table(Layout::dbase3, {});
  ASSERT_EQ(0, lib.dToptimize(&block_, name_.c_str()));
  EXPECT_EQ(le32(1) + std::string(508, '\0'), bytes());
}

// Longer dBASE IV texts than the work buffer come out as repetitions of their beginning: a rule
// that is kept, and that hosts are warned of.
TEST_F(Compaction, long_texts) {
  std::string text(40000, ' ');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('0' + i / 700);
  const struct {
    Layout layout;
    std::size_t length;
    std::string compacted;
  } cases[] = {{Layout::dbase4, 32768, text.substr(0, 32768)},
               {Layout::dbase4, 40000, text.substr(0, 32768) + text.substr(0, 7232)},
               {Layout::dbase3, 40000, text}};
  for (const auto& c : cases) {
    create(c.layout, c.layout == Layout::dbase4 ? 2 : 1);
    std::string reference = kNoMemo, got;
    {
      MemoFile memo(block_, name_, c.layout);
      ASSERT_EQ(0, memo.write_new(text.substr(0, c.length), reference));
    }
    write_table(c.layout, {kNoMemo, reference});
    ASSERT_EQ(0, lib.dToptimize(&block_, name_.c_str()));
    MemoFile memo(block_, name_, c.layout);
    EXPECT_EQ(0, memo.read("1         ", got));
    EXPECT_TRUE(c.compacted == got) << c.length;
  }
}

TEST_F(Compaction, names_of_memo_and_table_may_differ) {
  create(Layout::dbase4, 2);
  std::string reference = kNoMemo, text;
  write_file(folder_.file("OTHER.DBF"), memo_table(0x8B, 1, {}));
  const std::string both = folder_.file("NOTES") + ";" + folder_.file("OTHER");
  ASSERT_EQ(0, lib.dTcreat(&block_, both.c_str()));
  {
    MemoFile memo(block_, both);
    ASSERT_EQ(0, memo.write_new("lost", reference));
    reference = kNoMemo;
    ASSERT_EQ(0, memo.write_new("kept", reference));
  }
  write_file(folder_.file("OTHER.DBF"), memo_table(0x8B, 1, {reference}));
  // Records without their deletion flag shift nothing.
  block_.runtime_flags = 1;
  ASSERT_EQ(0, lib.dToptimize(&block_, both.c_str()));
  MemoFile memo(block_, both);
  EXPECT_EQ(0, memo.read("1         ", text));
  EXPECT_EQ("kept", text);
  EXPECT_EQ(std::string("NOTES\0\0\0", 8), read_bytes(folder_.file("NOTES.DBT"), 8, 8));
}

TEST_F(Compaction, what_stops_it_leaves_the_old_file) {
  create(Layout::dbase4, 2);
  std::string reference = kNoMemo;
  {
    MemoFile memo(block_, name_);
    ASSERT_EQ(0, memo.write_new("text", reference));
  }
  const std::string before = bytes();
  const struct {
    const char* name;
    std::string bad_reference;
    std::int32_t result, detail;
  } cases[] = {{"T", "         9", VQ_E_IO, 2083},
               {"T", "0000000001", VQ_E_CANCELLED, 10071},
               {"NONE", "", VQ_E_NOT_FOUND, 10421},
               {"NONE;T", "", VQ_E_NOT_FOUND, 10421}};
  for (const auto& c : cases) {
    const Host host(block_, c.result == VQ_E_CANCELLED ? 2 : 0);
    block_.detail = 0;
    write_table(Layout::dbase4,
                {reference, reference, c.bad_reference.empty() ? kNoMemo : c.bad_reference, kNoMemo,
                 kNoMemo, kNoMemo});
    const std::string name =
        std::string(c.name) == "NONE;T" ? folder_.file("NONE") + ";" + name_ : folder_.file(c.name);
    EXPECT_EQ(codes(c.result, c.detail), codes(lib.dToptimize(&block_, name.c_str()), block_));
    EXPECT_EQ(before, bytes());
    EXPECT_EQ((std::vector<std::string>{"T.DBF", "T.DBT"}), folder_.list());
  }
}

}  // namespace
