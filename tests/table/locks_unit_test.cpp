// Where locked bytes lie in the file, seen by a program that locks them by itself.

#include "platform/file.h"
#include "table/scratch_table.h"

namespace {

using vqdb::platform::Access;
using vqdb::platform::Error;
using vqdb::platform::File;

TEST(LockBytes, lie_where_the_scheme_says) {
  struct Case {
    std::uint64_t file, append, record_3;
  };
  const Case cases[] = {{0xEFFFFFFE, 0xEFFFFFFF, 0xEFFFFFFB},
                        {1000000000, 1134217727, 1000000003},
                        {0xEFFFFFFF, 0xEFFFFFFF, 0xEFFFFFFC},
                        {0x7FFFFFFE, 0x7FFFFFFD, 0x40000003}};
  for (std::uint32_t scheme = 0; scheme < 4; ++scheme) {
    ScratchTable scratch;
    scratch.block.index_kind = scheme;
    OpenTable table(scratch.block, scratch.name, 2, 0);
    File other;
    ASSERT_TRUE(other.open(scratch.file, Access::read_write).ok());
    const auto is_locked = [&](std::uint64_t offset) {
      const auto outcome = other.lock(offset, 1);
      if (outcome.ok()) (void)other.unlock(offset, 1);
      return outcome.error == Error::lock_refused;
    };
    const Case& c = cases[scheme];
    ASSERT_EQ(0, lib.dDlkrec(table, 3));
    EXPECT_TRUE(is_locked(c.record_3));
    EXPECT_FALSE(is_locked(c.record_3 - 1) || is_locked(c.record_3 + 1));
    ASSERT_EQ(0, lib.dDlkapp(table));
    EXPECT_TRUE(is_locked(c.append));
    EXPECT_FALSE(is_locked(c.append + 1) || is_locked(c.append - 1));
    ASSERT_EQ(0, lib.dDulkapp(table));
    ASSERT_EQ(0, lib.dDlkfil(table));
    EXPECT_TRUE(is_locked(c.file) && is_locked(c.append));
    ASSERT_EQ(0, lib.dDpoplk(table));
    EXPECT_FALSE(is_locked(c.file) || is_locked(c.append));
    // A host that takes no more than the file's byte.
    ASSERT_TRUE(other.lock(c.file, 1).ok());
    EXPECT_EQ(-38, lib.dDapprec(table, ScratchTable::record(1).data()));
    EXPECT_EQ(324, +scratch.block.detail);
    EXPECT_FALSE(c.append != c.file && is_locked(c.append)) << "what was taken is given back";
    ASSERT_TRUE(other.unlock(c.file, 1).ok());
    EXPECT_EQ(0, lib.dDapprec(table, ScratchTable::record(1).data()));
  }
}

}  // namespace
