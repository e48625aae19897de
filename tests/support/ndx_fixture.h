// A folder with an open table for indexes to belong to, and short ways to make keys.
#ifndef VQDBSYS_TESTS_SUPPORT_NDX_FIXTURE_H_
#define VQDBSYS_TESTS_SUPPORT_NDX_FIXTURE_H_

#include "support/ndx_checker.h"

namespace vqdb::testing {

inline std::string number_key(double value) {
  std::string key(sizeof value, '\0');
  std::memcpy(key.data(), &value, sizeof value);
  return key;
}

// The text, padded with blanks.
inline std::string text_key(std::string text, std::size_t length) {
  return padded(std::move(text), length);
}

class NdxFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* const fields[] = {"NAME", "C10"};
    ASSERT_EQ(0, lib.dDcreat(&block, folder.file("TABLE").c_str(), 1, fields));
    table = lib.dDopen(&block, folder.file("TABLE").c_str(), 0, 1);
    ASSERT_NE(nullptr, table);
  }
  void TearDown() override {
    if (table != nullptr) {
      EXPECT_EQ(0, lib.dDclose(table));
    }
  }

  // Makes and opens an index; the name without extension.
  VqIndex* make(const std::string& name, const char* format, std::uint32_t mode = 0,
                std::int32_t buffers = 4) {
    EXPECT_EQ(0, lib.dNcreat(&block, folder.file(name).c_str(), "NAME", format));
    return open(name, mode, buffers);
  }
  VqIndex* open(const std::string& name, std::uint32_t mode = 0, std::int32_t buffers = 4) {
    return lib.dNopen(table, folder.file(name).c_str(), mode, buffers);
  }
  NdxTree read(const std::string& name) { return read_ndx(folder.file(name + ".NDX")); }

  TemporaryFolder folder;
  VqBlock block = {};
  VqTable* table = nullptr;
};

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_NDX_FIXTURE_H_
