#include "support/orders.h"

namespace {

struct Layout {
  const char* name;
  std::uint32_t dialect, member_kind;
  std::int32_t handle_bytes;  // of a file with blocks of 512 bytes
};

class Memos : public ::testing::TestWithParam<Layout> {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, lib.DBinit(&block_, GetParam().dialect));
    const char* const fields[] = {"ID", "N5", "NOTE", "M"};
    ASSERT_EQ(0, lib.DBcreat(&block_, table_.c_str(), 2, fields)) << block_.detail;
    ASSERT_EQ(0, lib.DBopen(&block_, table_.c_str(), 0, 1, 1, 0, nullptr, &database_, nullptr));
    ASSERT_EQ(0, lib.GRPmember(database_, 8, nullptr, nullptr, &member_));
  }

  VqMemo* memo() const { return static_cast<VqMemo*>(member_.handle); }

  // Writes a memo through the memo family, as hosts do, and gives its reference.
  std::string write(const std::string& text) {
    std::string reference(10, ' ');
    const auto length = static_cast<std::int32_t>(text.size());
    EXPECT_EQ(0, GetParam().member_kind == 2
                     ? lib.dTnewmm(memo(), 0, length, text.data(), reference.data())
                     : lib.dTnewmm3(memo(), 0, 0, text.c_str(), reference.data()));
    return reference;
  }

  TemporaryFolder folder_;
  const std::string table_ = folder_.file("NOTES");
  VqBlock block_;
  VqDatabase* database_ = nullptr;
  VqMember member_ = {};
};

TEST_P(Memos, are_read_through_the_database) {
  EXPECT_EQ(GetParam().member_kind, value(member_.kind));
  EXPECT_EQ(GetParam().member_kind == 2 ? 0U : 1U, value(member_.driver_column));
  const std::vector<std::string> texts = {"short", std::string(3000, 'x')};
  std::vector<std::string> references;
  for (const std::string& text : texts) references.push_back(write(text));
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const char* const reference = references[i].data();
    std::int32_t number = -1;
    ASSERT_EQ(0, lib.DBmemotype(database_, reference, &number));
    EXPECT_EQ(1, number);
    ASSERT_EQ(0, lib.DBmemosize(database_, reference, &number));
    ASSERT_EQ(texts[i].size(), static_cast<std::size_t>(number));
    std::string text(texts[i].size() + 1, '?');
    std::int32_t done = 0;
    ASSERT_EQ(0, lib.DBgetmemo(database_, reference, 0, number, text.data(), &number, &done));
    EXPECT_EQ(texts[i] + '\0', text);
    EXPECT_EQ(1, done);
  }
  std::int32_t number = 0;
  EXPECT_EQ("-4/10162", codes(lib.DBmemosize(database_, "          ", &number), block_));
  EXPECT_EQ(0, lib.DBclose(database_));
  EXPECT_EQ(VQ_E_BAD_HANDLE, lib.dTmemotype(memo(), references[0].data(), &number));
}

TEST_P(Memos, files_are_measured_and_compacted_by_name) {
  const std::string kept = write("kept");
  (void)write(std::string(2000, 'y'));
  std::uint32_t recno = 0;
  ASSERT_EQ(0, lib.DBapprec(database_, ("     1" + kept).data(), &recno));
  ASSERT_EQ(0, lib.DBclose(database_));
  std::int32_t size = 0;
  ASSERT_EQ(0, lib.DBmemomem(&block_, table_.c_str(), &size)) << block_.detail;
  EXPECT_EQ(GetParam().handle_bytes, size);
  const std::size_t before = read_file(table_ + ".DBT").size();
  ASSERT_EQ(0, lib.DBoptimize(&block_, table_.c_str())) << block_.detail;
  EXPECT_LT(read_file(table_ + ".DBT").size(), before);

  ASSERT_EQ(0, lib.DBuse(&block_, table_.c_str(), 0, &database_));
  std::string text(5, '?');
  ASSERT_EQ(0, lib.DBgetmemo(database_, kept.data(), 0, 4, text.data(), &size, nullptr));
  EXPECT_STREQ("kept", text.c_str());
  EXPECT_EQ(0, lib.DBclose(database_));
}

INSTANTIATE_TEST_SUITE_P(layouts, Memos,
                         ::testing::Values(Layout{"dbase3", 1, 4, 512 + 467},
                                           Layout{"dbase4", 2, 2, 512 + 467},
                                           Layout{"dbase4_in_dialect_4", 4, 2, 512 + 467},
                                           Layout{"dbase4_in_dialect_7", 7, 2, 512 + 467}),
                         by_name);

TEST(MemoFiles, of_a_kind_without_a_driver_are_refused) {
  VqBlock block;
  ASSERT_EQ(0, lib.DBinit(&block, 8));
  std::int32_t size = 0;
  EXPECT_EQ(VQ_E_NO_DRIVER, lib.DBmemomem(&block, "NOTES", &size));
  EXPECT_EQ(VQ_E_NO_DRIVER, lib.DBoptimize(&block, "NOTES"));
}

}  // namespace
