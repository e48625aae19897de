#include "support/test.h"

namespace {

TEST(Settings, choices_are_kept_in_the_block) {
  const struct {
    decltype(lib.dUsetnet) set;
    size_t offset;
    int32_t given;
    uint32_t kept;
  } cases[] = {{lib.dUsetlang, offsetof(VqBlock, language), 1, 1},
               {lib.dUsetlang, offsetof(VqBlock, language), 2, 0},
               {lib.dUsetnet, offsetof(VqBlock, index_kind), 6, 6},
               {lib.dUsetnet, offsetof(VqBlock, index_kind), 7, 0},
               {lib.dUsetnet, offsetof(VqBlock, index_kind), -1, 0},
               {lib.dUsetwait, offsetof(VqBlock, lock_wait), 70000, 70000},
               {lib.dUsetwait, offsetof(VqBlock, lock_wait), -1, 0},
               {lib.dUsetdate, offsetof(VqBlock, date_format), 6, 6},
               {lib.dUsetdate, offsetof(VqBlock, date_format), 7, 0},
               {lib.dUsetdate, offsetof(VqBlock, date_format), -1, 0},
               {lib.dUsetcent, offsetof(VqBlock, century), 5, 1},
               {lib.dUsetcent, offsetof(VqBlock, century), 0, 0},
               {lib.dUsetexact, offsetof(VqBlock, exact), -1, 1},
               {lib.dUsetexact, offsetof(VqBlock, exact), 0, 0}};
  for (const auto& c : cases) {
    VqBlock block = {};
    const uint32_t before = 3;
    std::memcpy(reinterpret_cast<char*>(&block) + c.offset, &before, sizeof before);
    EXPECT_EQ(&block, c.set(&block, c.given));
    uint32_t kept = before;
    std::memcpy(&kept, reinterpret_cast<char*>(&block) + c.offset, sizeof kept);
    EXPECT_EQ(c.kept, kept) << c.offset << " " << c.given;
  }
}

TEST(Settings, temporary_directory_ends_in_a_backslash) {
  VqBlock block = {};
  EXPECT_EQ(0, lib.dUtmpdir(&block, "C:\\TMP"));
  EXPECT_STREQ("C:\\TMP\\", block.temporary_directory);
  EXPECT_EQ(0, lib.dUtmpdir(&block, "D:\\"));
  EXPECT_STREQ("D:\\", block.temporary_directory);
  EXPECT_EQ(-2, lib.dUtmpdir(&block, std::string(86, 'X').c_str()));
  EXPECT_STREQ("D:\\", block.temporary_directory);
  const std::string longest(85, 'X');
  EXPECT_EQ(0, lib.dUtmpdir(&block, longest.c_str()));
  EXPECT_EQ(longest + "\\", block.temporary_directory);
  EXPECT_EQ(0, lib.dUtmpdir(&block, ""));
  EXPECT_STREQ("", block.temporary_directory);
  EXPECT_EQ(0, lib.dUtmpdir(&block, nullptr));
  EXPECT_STREQ("", block.temporary_directory);
}

TEST(Settings, version_is_told) {
  char text[8] = "-------";
  EXPECT_EQ(text, lib.dUversion(text));
  EXPECT_STREQ("6.00", text);
}

}  // namespace
