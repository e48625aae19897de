// Several processes and handles on one index file: nobody loses a key, locks exclude, and what one
// writes the others find.
#include <algorithm>
#include <memory>

#include "support/ndx_fixture.h"
#include "support/process.h"

namespace vqdb::testing {
namespace {

// args: folder file of the table, of the index, mode, first record number. Inserts a thousand keys
// and takes every third one away again.
VQ_CHILD(change_shared_index) {
  VqBlock block = {};
  VqTable* table = lib.dDopen(&block, args[0].c_str(), 4, 1);
  VqIndex* index = lib.dNopen(table, args[1].c_str(), std::stoul(args[2]) & 0xFF, 10);
  if (index == nullptr) return 100 - block.result;
  const auto first = static_cast<std::uint32_t>(std::stoul(args[3]));
  say("ready");
  wait_for_line();
  for (std::uint32_t i = 0; i < 1000; ++i) {
    const std::string key = text_key("K" + std::to_string(i * 7919 % 1009), 20);
    if (lib.dNputkey(index, key.data(), first + i) != 0) return 1;
    std::uint32_t recno = 0;
    if (i % 3 == 0 && lib.dNrmkey(index, key.data(), first + i) != 0) return 2;
    if (i % 3 != 0 && lib.dNgetrno(index, key.data(), &recno) != 0) return 3;
  }
  if (lib.dNclose(index) != 0) return 4;
  return lib.dDclose(table) == 0 ? 0 : 5;
}

class SharedNdx : public NdxFixture, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(SharedNdx, processes_that_change_one_index_lose_nothing) {
  const std::string name = folder.file("S");
  ASSERT_EQ(0, lib.dNcreat(&block, name.c_str(), "NAME", "C20"));
  std::vector<std::unique_ptr<Child>> children;
  for (int i = 0; i < 3; ++i) {
    children.push_back(std::make_unique<Child>(
        "change_shared_index", Arguments{folder.file("TABLE"), name, std::to_string(GetParam()),
                                         std::to_string(1 + i * 1000)}));
    ASSERT_EQ("ready", children.back()->read_line());
  }
  for (auto& child : children) child->write_line("go");
  for (auto& child : children) EXPECT_EQ(0, child->wait());
  const NdxTree tree = read("S");
  EXPECT_EQ("", tree.all_faults());
  std::vector<NdxEntry> expected;
  for (std::uint32_t recno = 1; recno <= 3000; ++recno) {
    const std::uint32_t i = (recno - 1) % 1000;
    if (i % 3 == 0) continue;
    expected.emplace_back(text_key("K" + std::to_string(i * 7919 % 1009), 20), recno);
  }
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(expected, tree.sorted());
}

INSTANTIATE_TEST_SUITE_P(Modes, SharedNdx, ::testing::Values(2u, 4u));

using NdxLocks = NdxFixture;

TEST_F(NdxLocks, one_handle_at_a_time_holds_the_file) {
  for (const int32_t scheme : {0, 1, 2, 3}) {
    SCOPED_TRACE(scheme);
    ASSERT_EQ(0, lib.dDclose(table));
    lib.dUsetnet(&block, scheme);
    table = lib.dDopen(&block, folder.file("TABLE").c_str(), 4, 1);
    VqIndex* mine = make("L", "C10", 4);
    VqIndex* theirs = open("L", 4);
    ASSERT_NE(nullptr, theirs);
    EXPECT_EQ(-35, lib.dNlkfsta(mine));
    EXPECT_EQ(3143, block.detail);
    EXPECT_EQ(-35, lib.dNulkfil(mine));
    EXPECT_EQ(3223, block.detail);
    EXPECT_EQ(0, lib.dNlkfil(mine));
    EXPECT_EQ(0, lib.dNlkfil(mine));
    EXPECT_EQ(0, lib.dNlkfsta(mine));
    EXPECT_EQ(-37, lib.dNlkfsta(theirs));
    EXPECT_EQ(3144, block.detail);
    block.system_error = 0;
    EXPECT_EQ(-38, lib.dNlkfil(theirs));
    EXPECT_EQ(3133, block.detail);
    EXPECT_NE(0, int32_t{block.system_error});
    // The holder works on, and has written when it lets go.
    ASSERT_EQ(0, lib.dNputkey(mine, text_key("A", 10).data(), 5));
    EXPECT_EQ(0, lib.dNulkfil(mine));
    uint32_t recno = 0;
    EXPECT_EQ(0, lib.dNgetrno(theirs, text_key("A", 10).data(), &recno));
    EXPECT_EQ(5u, recno);
    EXPECT_EQ(0, lib.dNlkfil(theirs));
    EXPECT_EQ(0, lib.dNclose(theirs));
    EXPECT_EQ(-35, lib.dNlkfsta(mine));
    EXPECT_EQ(0, lib.dNclose(mine));
  }
}

TEST_F(NdxLocks, schemes_without_locks_refuse_them_and_work_on) {
  ASSERT_EQ(0, lib.dDclose(table));
  lib.dUsetnet(&block, 4);
  table = lib.dDopen(&block, folder.file("TABLE").c_str(), 4, 1);
  VqIndex* index = make("L", "C10", 4);
  EXPECT_EQ(-13, lib.dNlkfil(index));
  EXPECT_EQ(3132, block.detail);
  EXPECT_EQ(-13, lib.dNulkfil(index));
  EXPECT_EQ(3222, block.detail);
  EXPECT_EQ(-13, lib.dNlkfsta(index));
  EXPECT_EQ(3142, block.detail);
  EXPECT_EQ(0, lib.dNputkey(index, text_key("A", 10).data(), 5));
  EXPECT_EQ(0, lib.dNclose(index));
}

}  // namespace
}  // namespace vqdb::testing
