// Memo files beside another reader: the Perl module XBase, where it is installed. Ours are read by
// it, and files that other programs wrote, in the folder that VQDB_REAL_FILES of the environment
// names, by both.

#include <cstdlib>

#include "interop/other_reader.h"
#include "support/memo_files.h"

namespace {

using Layout = MemoFile::Layout;

// Prints each memo of a table in hexadecimal, one a line, by records and fields.
constexpr const char* kReader = R"(perl -MXBase -e '
  my $table = XBase->new(shift) or die XBase->errstr;
  my @types = $table->field_types;
  for my $record (0 .. $table->last_record) {
    my ($deleted, @values) = $table->get_record($record);
    for my $field (grep { $types[$_] eq "M" } 0 .. $#types) {
      print unpack("H*", $values[$field] // ""), "\n";
    }
  }' )";

std::vector<std::string> read_by_other(const std::string& table) {
  std::vector<std::string> memos;
  for (const std::string& line : lines_of(kReader + table)) {
    std::string memo;
    for (std::size_t i = 0; i < line.size(); i += 2) {
      memo += static_cast<char>(std::stoi(line.substr(i, 2), nullptr, 16));
    }
    memos.push_back(memo);
  }
  return memos;
}

// The contents of all memo fields of a table, by records and fields.
std::vector<std::string> references_in(const std::string& table) {
  const std::size_t header = read_le32(table, 8) & 0xFFFF;
  const std::size_t length = read_le32(table, 8) >> 16;
  std::vector<std::string> references;
  for (std::size_t record = 0; record < read_le32(table, 4); ++record) {
    std::size_t offset = header + record * length + 1;
    for (std::size_t field = 32; field + 32 < header; field += 32) {
      const auto width = static_cast<std::uint8_t>(table[field + 16]);
      if (table[field + 11] == 'M') references.push_back(table.substr(offset, width));
      offset += width;
    }
  }
  return references;
}

std::vector<std::string> read_by_us(const std::string& base, Layout layout) {
  VqBlock block = memo_block(layout == Layout::dbase4 ? 2 : 1);
  MemoFile file(block, base, layout, 1);
  std::vector<std::string> memos;
  for (const std::string& reference : references_in(read_file(base + ".dbf"))) {
    std::string text;
    if (lib.dUcheck_mfld(reference.c_str()) == 1) {
      EXPECT_EQ(0, file.read(reference, text)) << reference;
    }
    memos.push_back(text);
  }
  return memos;
}

TEST(MemoInterop, another_reader_reads_what_we_write) {
  VQ_NEEDS_READER("the Perl module XBase", "perl -MXBase -e 1");
  for (const Layout layout : {Layout::dbase3, Layout::dbase4}) {
    for (const std::uint32_t block_setting : {1u, 2u, 32u}) {
      const TemporaryFolder folder;
      const std::uint8_t version = layout == Layout::dbase4 ? 0x8B : 0x83;
      VqBlock block = memo_block(layout == Layout::dbase4 ? 2 : 1, block_setting);
      write_file(folder.file("T.DBF"), memo_table(version, 2, {}));
      const std::string name = folder.file("T");
      ASSERT_EQ(0, layout == Layout::dbase4 ? lib.dTcreat(&block, name.c_str())
                                            : lib.dTcreat3(&block, name.c_str()));
      std::vector<std::string> texts, references;
      {
        MemoFile file(block, name, layout);
        for (std::size_t i = 0; i < 40; ++i) {
          texts.push_back(i % 5 == 4 ? "" : std::string(1 + i * 117, static_cast<char>('A' + i)));
          references.push_back(kNoMemo);
          if (texts[i].empty()) continue;
          ASSERT_EQ(0, file.write_new("draft", references[i]));
        }
        for (std::size_t i = 0; i < 40; ++i) {
          if (texts[i].empty()) continue;
          ASSERT_EQ(0, file.replace(texts[i], references[i]));
        }
      }
      write_file(folder.file("T.DBF"), memo_table(version, 2, references));
      EXPECT_EQ(texts, read_by_other(folder.file("T.DBF")));
    }
  }
}

TEST(MemoInterop, we_read_what_other_programs_wrote) {
  const char* const folder = std::getenv("VQDB_REAL_FILES");
  if (folder == nullptr) GTEST_SKIP() << "VQDB_REAL_FILES names no folder";
  VQ_NEEDS_READER("the Perl module XBase", "perl -MXBase -e 1");
  for (const char* const name : {"dbase_83", "biblio"}) {
    const std::string base = std::string(folder) + "/" + name;
    if (!file_exists(base + ".dbt")) continue;
    const std::vector<std::string> ours = read_by_us(base, Layout::dbase3);
    EXPECT_EQ(read_by_other(base + ".dbf"), ours) << name;
    EXPECT_LT(20u, ours.size());
  }
}

}  // namespace
