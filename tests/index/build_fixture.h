// A table to build indexes from in a workspace of few pages; no other files stay behind.
#ifndef VQDBSYS_TESTS_INDEX_BUILD_FIXTURE_H_
#define VQDBSYS_TESTS_INDEX_BUILD_FIXTURE_H_

#include "support/host.h"
#include "support/mdx_fixture.h"

namespace vqdb::testing {

class BuildFixture : public MdxFixture {
 protected:
  void SetUp() override {
    MdxFixture::SetUp();
    block.page_count_setting = 1;
    block.count_setting = 3;
  }
  void TearDown() override {
    MdxFixture::TearDown();
    for (const std::string& file : folder.list()) {
      EXPECT_TRUE(file.ends_with(".DBF") || file.ends_with("DX")) << file;
    }
  }

  // Few names, many amounts, dates blank or not, some deleted.
  void append(std::uint32_t count) {
    std::mt19937 random(4);
    for (std::uint32_t i = 0; i < count; ++i) {
      const auto n = random();
      const std::string record = mdx_record(
          "N" + std::to_string(n % 300 + 100), static_cast<int>(n / 300 % 4001) / 4.0 - 500,
          static_cast<int>(n / 7 % 29), i % 7 == 0, std::to_string(n));
      ASSERT_EQ(0, lib.dDapprec(table, record.data()));
    }
  }

  std::string run(const char* text, const std::string& record, std::uint32_t options,
                  std::int32_t max) {
    VqExpr* program = nullptr;
    char type = 0;
    std::int32_t length = 0;
    EXPECT_EQ(0, lib.dEparse(&block, text, table, &program, &type, &length));
    std::string value(256, ' ');
    EXPECT_EQ(0, lib.dErun(&block, program, record.data(), options, max, value.data(), &length));
    EXPECT_EQ(0, lib.dEfree(program));
    return value.substr(0, static_cast<std::size_t>(length));
  }
};

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_INDEX_BUILD_FIXTURE_H_
