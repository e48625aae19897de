#include "support/test.h"

namespace {

TEST(Block, prepares_each_dialect) {
  static_assert(sizeof(VqBlock) == 527);
  struct Case {
    std::uint32_t kind, index_kind;
  };
  for (const auto& [kind, index_kind] :
       {Case{1, 1}, Case{2, 0}, Case{4, 0}, Case{7, 0}, Case{8, 4}, Case{32776, 4}, Case{16, 6}}) {
    VqBlock expected = {};
    expected.kind = kind;
    expected.memo_block_setting = 1;
    expected.page_count_setting = 64;
    expected.table_access = 1;
    expected.index_open_parameter = 10;
    expected.first_setting = 1;
    expected.count_setting = 20;
    expected.index_kind = index_kind;
    VqBlock block;
    std::memset(&block, 0x5A, sizeof block);
    ASSERT_EQ(0, lib.DBinit(&block, kind));
    EXPECT_EQ(0, std::memcmp(&expected, &block, sizeof block)) << "kind " << kind;
  }
}

TEST(Block, refuses_other_kinds_and_leaves_the_block_alone) {
  for (const std::uint32_t kind : {0U, 3U, 5U, 6U, 32768U}) {
    VqBlock block;
    std::memset(&block, 0x5A, sizeof block);
    EXPECT_EQ(VQ_E_UNKNOWN_KIND, lib.DBinit(&block, kind));
    EXPECT_EQ(std::string(sizeof block, '\x5A'),
              std::string(reinterpret_cast<const char*>(&block), sizeof block));
  }
}

TEST(Block, shut_down_entry_agrees_to_anything) { EXPECT_EQ(1, lib.WEP(0)); }

}  // namespace
