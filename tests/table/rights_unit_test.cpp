// What is only read needs no right to be written.
#include <sys/stat.h>

#include "support/ordinary_user.h"
#include "table/scratch_table.h"

namespace {

TEST(Rights, to_read_are_enough_for_a_source) {
  ScratchTable scratch;
  scratch.append(1, 3);
  VqBlock& block = scratch.block;
  lib.dUtmpdir(&block, scratch.folder.path().string().c_str());
  const std::string to = scratch.folder.file("TO"), made = scratch.folder.file("NEW");
  const char* const source = scratch.name.c_str();
  ASSERT_EQ(0, lib.dDcopy(&block, source, to.c_str()));
  ::chmod(scratch.folder.path().c_str(), 0777);
  ::chmod((to + ".DBF").c_str(), 0666);
  ::chmod(scratch.file.c_str(), 0444);

  const OrdinaryUser user;
  EXPECT_EQ(0, lib.dDcmpstr(&block, source, to.c_str()));
  EXPECT_EQ(0, lib.dDcat(&block, to.c_str(), source)) << block.detail;
  EXPECT_EQ(0, lib.dDcat(&block, made.c_str(), source));
  EXPECT_EQ(0, lib.dDcopy(&block, source, made.c_str()));
  EXPECT_EQ(0, lib.dDsort(&block, source, made.c_str(), "NUMBER"));
  for (std::uint32_t mode = 0; mode < 8; ++mode) {
    const OpenTable table(block, scratch.name, mode, 1);
    EXPECT_EQ((mode & 1) != 0, table != nullptr) << mode;
  }
  EXPECT_EQ("-19/10422", codes(lib.dDpack(&block, source), block));
  EXPECT_EQ("-19/343", codes(lib.dDcat(&block, source, to.c_str()), block));
}

}  // namespace
