// How the trees of NDX files grow, entry by entry; whole histories are in index_history_test.cpp.
#include <cmath>

#include "support/ndx_fixture.h"

namespace {

using Ndx = NdxFixture;

TEST_F(Ndx, first_split_grows_the_file_by_two_pages) {
  VqIndex* index = make("A", "C100");
  for (std::uint32_t recno = 1; recno <= 4; ++recno) {
    ASSERT_EQ(
        0, lib.dNputkey(index, text_key(std::string(1, static_cast<char>('A' + recno)), 100).data(),
                        recno));
  }
  ASSERT_EQ(0, lib.dNflush(index));
  EXPECT_EQ(1u, read("A").root);
  EXPECT_EQ(2u, read("A").next_free);
  ASSERT_EQ(0, lib.dNputkey(index, text_key("Z", 100).data(), 5));
  ASSERT_EQ(0, lib.dNclose(index));
  const NdxTree tree = read("A");
  EXPECT_EQ("", tree.all_faults());
  EXPECT_EQ(4u, tree.next_free);
  EXPECT_EQ(3u, tree.root);
  const std::string bytes = read_file(folder.file("A.NDX"));
  ASSERT_EQ(4 * 512u, bytes.size());
  // Five entries, the new one beyond the middle: the lower part is the larger one.
  EXPECT_EQ(3, bytes[512]);
  EXPECT_EQ(2, bytes[1024]);
  EXPECT_EQ(std::string("\1\0\0\0\1\0\0\0\0\0\0\0D", 13), bytes.substr(1536, 13));
  EXPECT_EQ(std::string("\2\0\0\0", 4), bytes.substr(1536 + 4 + 108, 4));
}

TEST_F(Ndx, entry_at_the_middle_stays_below) {
  VqIndex* index = make("A", "C100");
  for (const char* key : {"B", "D", "F", "H", "E"}) {
    ASSERT_EQ(0, lib.dNputkey(index, text_key(key, 100).data(), 1));
  }
  ASSERT_EQ(0, lib.dNclose(index));
  const std::string bytes = read_file(folder.file("A.NDX"));
  EXPECT_EQ(3, bytes[512]);
  EXPECT_EQ(2, bytes[1024]);
  EXPECT_EQ("", read("A").all_faults());
}

TEST_F(Ndx, unique_index_refuses_a_second_key_and_changes_nothing) {
  VqIndex* index = make("U", "C10U");
  const std::string key = text_key("SAME", 10);
  for (std::uint32_t i = 0; i < 100; ++i) {
    ASSERT_EQ(0, lib.dNputkey(index, text_key("S" + std::to_string(i), 10).data(), i + 1));
  }
  ASSERT_EQ(0, lib.dNputkey(index, key.data(), 500));
  ASSERT_EQ(0, lib.dNflush(index));
  const std::string before = read_file(folder.file("U.NDX"));
  EXPECT_EQ("-8/3164", codes(lib.dNputkey(index, key.data(), 501), block));
  EXPECT_EQ("-5/3314", codes(lib.dNupdkey(index, key.data(), text_key("S5", 10).data(), 6), block));
  EXPECT_EQ("-8/3315", codes(lib.dNupdkey(index, text_key("S5", 10).data(), key.data(), 6), block));
  ASSERT_EQ(0, lib.dNclose(index));
  EXPECT_EQ(before, read_file(folder.file("U.NDX")));
}

// Equal keys over many leaves, removed in the orders in which records come and go.
TEST_F(Ndx, equal_keys_are_removed_by_record) {
  constexpr std::uint32_t kCount = 20000;
  VqIndex* index = make("E", "C10", 0, 1000);
  const std::string key = text_key("SAME", 10);
  ASSERT_EQ(0, lib.dNputkey(index, text_key("ABOVE", 10).data(), 7));
  ASSERT_EQ(0, lib.dNputkey(index, text_key("ZERO", 10).data(), 8));
  for (std::uint32_t recno = 1; recno <= kCount; ++recno) {
    ASSERT_EQ(0, lib.dNputkey(index, key.data(), recno));
  }
  ASSERT_EQ(0, lib.dNflush(index));
  const NdxTree tree = read("E");
  ASSERT_EQ("", tree.all_faults());
  // A new key goes before its equals.
  EXPECT_EQ(NdxEntry(key, kCount), tree.entries[1]);
  EXPECT_EQ(NdxEntry(key, 1), tree.entries[kCount]);
  EXPECT_EQ("-5/3214", codes(lib.dNrmkey(index, key.data(), kCount + 1), block));
  for (std::uint32_t i = 0; i < 5000; ++i) {
    ASSERT_EQ(0, lib.dNrmkey(index, key.data(), i + 1));
    ASSERT_EQ(0, lib.dNrmkey(index, key.data(), kCount - i));
  }
  for (std::uint32_t recno = 5001; recno <= 15000; recno += 100) {
    ASSERT_EQ(0, lib.dNrmkey(index, key.data(), recno));
  }
  ASSERT_EQ(0, lib.dNclose(index));
  EXPECT_EQ("", read("E").all_faults());
  EXPECT_EQ(kCount - 10000 - 100 + 2, read("E").entries.size());
}

TEST_F(Ndx, key_that_is_no_number_is_refused) {
  const std::string nan = number_key(std::nan(""));
  const std::string one = number_key(1);
  VqIndex* index = make("A", "N");
  ASSERT_EQ(0, lib.dNputkey(index, one.data(), 1));
  std::uint32_t recno = 0;
  EXPECT_EQ("-4/3162", codes(lib.dNputkey(index, nan.data(), 2), block));
  EXPECT_EQ(-4, lib.dNrmkey(index, nan.data(), 1));
  EXPECT_EQ(-4, lib.dNupdkey(index, one.data(), nan.data(), 1));
  EXPECT_EQ(-4, lib.dNgetrno(index, nan.data(), &recno));
  EXPECT_EQ(0, lib.dNclose(index));
}

}  // namespace
