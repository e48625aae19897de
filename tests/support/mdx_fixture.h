// A folder with an open table for MDX files to belong to, and short ways to make tags and keys.
#ifndef VQDBSYS_TESTS_SUPPORT_MDX_FIXTURE_H_
#define VQDBSYS_TESTS_SUPPORT_MDX_FIXTURE_H_

#include <cstdio>

#include "support/mdx_checker.h"

namespace vqdb::testing {

inline constexpr std::size_t kMdxRecordBytes = 1 + 20 + 12 + 8 + 100;

// A record of the fixture's table; day 0 is a blank date, else one of January 1995.
inline std::string mdx_record(const std::string& name, double amount, int day, bool deleted = false,
                              const std::string& text = "") {
  std::string record(kMdxRecordBytes, ' ');
  char number[16];
  std::snprintf(number, sizeof number, "%12.2f", amount);
  if (deleted) record[0] = '*';
  record.replace(1, name.size(), name);
  record.replace(21, 12, number);
  if (day > 0) record.replace(33, 8, std::to_string(19950100 + day));
  record.replace(41, text.size(), text);
  return record;
}

// A key of a tag's form for a number: text, packed decimal, or the date of so many days.
inline std::string mdx_key(char type, std::size_t length, std::int32_t n) {
  std::string key(length, ' ');
  if (type == 'C') {
    const std::string digits = std::to_string(n);
    if (length < digits.size()) key[0] = static_cast<char>('A' + n % 26);
    if (length >= digits.size()) key.replace(0, digits.size(), digits);
  } else if (type == 'N') {
    lib.dUdtonk(0, n / 4.0 - 100, key.data());
  } else {
    lib.dUdtonk(1, 2400000 + n, key.data());
  }
  return key;
}

class MdxFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* const fields[] = {"NAME", "C20", "AMOUNT", "N12.2", "DUE", "D", "TEXT", "C100"};
    ASSERT_EQ(0, lib.DBinit(&block, 2));
    ASSERT_EQ(0, lib.dUtmpdir(&block, folder.path().string().c_str()));
    ASSERT_EQ(0, lib.dDcreat(&block, name("T").c_str(), 4, fields));
    open_table(0);
  }
  void TearDown() override { EXPECT_EQ(0, lib.dDclose(table)); }

  void open_table(std::uint32_t mode) {
    if (table != nullptr) {
      ASSERT_EQ(0, lib.dDclose(table));
    }
    table = lib.dDopen(&block, name("T").c_str(), mode, 10);
    ASSERT_NE(nullptr, table);
  }

  std::string name(const std::string& file) { return folder.file(file); }
  MdxReport read(const std::string& file = "M") { return read_mdx(name(file + ".MDX")); }

  // Makes an MDX file without tags, with blocks of so many pages.
  void create(const std::string& file = "M", std::uint32_t block_pages = 2) {
    ASSERT_EQ(0, lib.dXcreat(table, name(file).c_str()));
    std::string bytes(4, '\0');
    bytes[0] = static_cast<char>(block_pages);
    bytes[3] = static_cast<char>(block_pages * 2);
    write_bytes(name(file + ".MDX"), 20, bytes);
  }
  VqIndex* open(const std::string& file = "M", std::uint32_t mode = 0, std::int32_t buffers = 4) {
    return lib.dXopen(table, name(file).c_str(), mode, buffers);
  }
  // Builds a tag on the table as it is, and activates it.
  VqIndex* make_tag(VqIndex* file, const char* tag, const char* key, const char* format,
                    const char* filter = nullptr) {
    const std::int32_t result = lib.dXindex(file, tag, key, format, filter);
    EXPECT_EQ(0, result) << tag << " " << block.detail;
    return result == 0 ? lib.dXactidx(file, tag) : nullptr;
  }

  TemporaryFolder folder;
  VqBlock block = {};
  VqTable* table = nullptr;
};

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_MDX_FIXTURE_H_
