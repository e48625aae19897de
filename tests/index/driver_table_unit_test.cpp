#include "index/driver_table.h"
#include "index/ndx/ndx_open.h"
#include "index/open/key_tree.h"
#include "support/fault_plan.h"
#include "support/ndx_fixture.h"
#include "table/table.h"

namespace {

using namespace vqdb;

using index::bracket;
using index::driver;

using DriverTable = NdxFixture;

TEST_F(DriverTable, ndx_columns_share_one_implementation) {
  EXPECT_EQ(&driver(1), &driver(2));
  EXPECT_EQ(nullptr, driver(1).actidx);
  EXPECT_EQ(nullptr, driver(1).deaidx);
  EXPECT_EQ(nullptr, driver(1).listag);
  EXPECT_EQ(nullptr, driver(1).sortag);
  EXPECT_EQ(nullptr, driver(1).tags);
  for (const std::uint32_t column : {3u, 4u, 5u, 6u, 7u, 8u, 0xFFFFFFFFu}) {
    EXPECT_EQ(nullptr, driver(column).open);
    EXPECT_EQ(nullptr, driver(column).putkey);
    EXPECT_EQ(nullptr, bracket(column).enter);
  }
}

TEST_F(DriverTable, every_row_works_on_an_ndx_file) {
  ASSERT_EQ(0, lib.dNcreat(&block, folder.file("V").c_str(), "NAME", "C10"));
  const index::Driver& ndx = driver(2);
  table::Table* context = table::find_live(table);
  index::Index* handle = ndx.open(*context, folder.file("V").c_str(), 4, 1);
  ASSERT_NE(nullptr, handle);
  char text[16] = {};
  std::int32_t number = 0;
  std::uint32_t recno = 0;
  const std::string key = text_key("A", 10);
  const std::string higher = text_key("B", 10);
  EXPECT_EQ(Result::ok, ndx.putkey(*handle, key.data(), 7, true));
  EXPECT_EQ(Result::not_locked, ndx.putkey(*handle, higher.data(), 8, false));
  EXPECT_EQ(Result::ok, ndx.putkey(*handle, higher.data(), 8, true));
  EXPECT_EQ(Result::ok, ndx.getrno(*handle, key.data(), &recno));
  EXPECT_EQ(7u, recno);
  EXPECT_EQ(Result::ok, ndx.nxtkey(*handle, nullptr, &recno));
  EXPECT_EQ(8u, recno);
  EXPECT_EQ(Result::ok, ndx.prvkey(*handle, text, nullptr));
  EXPECT_EQ(0, std::memcmp(key.data(), text, key.size()));
  EXPECT_EQ(Result::ok, ndx.curkey(*handle, nullptr, &recno));
  EXPECT_EQ(7u, recno);
  EXPECT_EQ(Result::ok, ndx.forwrd(*handle));
  EXPECT_EQ(Result::index_end, ndx.curkey(*handle, nullptr, nullptr));
  EXPECT_EQ(Result::ok, ndx.rewind(*handle));
  EXPECT_EQ(Result::index_start, ndx.curkey(*handle, nullptr, nullptr));
  EXPECT_EQ(Result::ok, ndx.rmkey(*handle, key.data(), 7, true));
  EXPECT_EQ(Result::not_found, ndx.rmkey(*handle, key.data(), 7, true));
  EXPECT_EQ(Result::ok, ndx.expr(*handle, text, sizeof text, nullptr));
  EXPECT_STREQ("NAME", text);
  EXPECT_EQ(Result::ok, ndx.explen(*handle, &number, nullptr));
  EXPECT_EQ(4, number);
  EXPECT_EQ(10, ndx.keylen(*handle));
  EXPECT_EQ('C', ndx.keytyp(*handle));
  EXPECT_EQ(Result::ok, ndx.flush(*handle));
  EXPECT_EQ(Result::ok, ndx.close(*handle));
  EXPECT_EQ(1u, read("V").entries.size());
}

class Brackets : public NdxFixture {
 protected:
  index::Index* open_index(std::uint32_t mode) {
    return driver(1).open(*table::find_live(table), folder.file("B").c_str(), mode, 4);
  }
  static Result put(index::Index* handle, const char* key, std::uint32_t recno) {
    return driver(1).putkey(*handle, text_key(key, 10).data(), recno, false);
  }
  static std::uint32_t record_of(index::Index* handle, const char* key) {
    std::uint32_t recno = 0;
    (void)driver(1).getrno(*handle, text_key(key, 10).data(), &recno);
    return recno;
  }

  const index::Bracket& ndx = bracket(1);
};

TEST_F(Brackets, nested_ones_lock_refresh_and_write_once) {
  ASSERT_EQ(0, lib.dNcreat(&block, folder.file("B").c_str(), "NAME", "C10U"));
  for (const std::uint32_t mode : {0u, 2u, 4u}) {
    SCOPED_TRACE(mode);
    index::Index* const mine = open_index(mode);
    index::Index* const theirs = open_index(mode);
    EXPECT_EQ(ndx.identity(*mine), ndx.identity(*theirs));
    EXPECT_LT(platform::FileIdentity{}, ndx.identity(*mine));
    EXPECT_EQ(Result::ok, driver(1).putkey(*mine, text_key("OLD", 10).data(), 1, true));
    const auto count = [&](auto filter) {
      if (mode != 0) {  // nothing that is in memory counts then
        EXPECT_EQ(Result::ok, driver(1).putkey(*theirs, text_key("THEIRS", 10).data(), 9, true));
        EXPECT_EQ(Result::ok, driver(1).rmkey(*theirs, text_key("THEIRS", 10).data(), 9, true));
      }
      const FaultPlan plan(0, Verdict::fail, filter);
      EXPECT_EQ(Result::ok, ndx.enter(*mine));
      EXPECT_EQ(Result::ok, ndx.enter(*mine));
      EXPECT_EQ(Result::ok, put(mine, "NEW", 2));
      EXPECT_EQ(Result::duplicate_key, put(mine, "OLD", 3));
      bool has = false;
      EXPECT_EQ(Result::ok, ndx.haskey(*mine, text_key("OLD", 10).data(), 3, &has));
      EXPECT_FALSE(has);
      EXPECT_EQ(Result::ok, ndx.haskey(*mine, text_key("OLD", 10).data(), 1, &has));
      EXPECT_TRUE(has);
      EXPECT_EQ(Result::ok, ndx.updkey(*mine, text_key("NEW", 10).data(),
                                       text_key("OTHER", 10).data(), 2, true));
      EXPECT_EQ(Result::ok, ndx.leave(*mine));
      EXPECT_EQ(mode == 0 ? VQ_E_NOT_LOCKED : VQ_E_LOCKED,
                lib.dNlkfsta(reinterpret_cast<VqIndex*>(theirs)));
      EXPECT_EQ(Result::ok, driver(1).rmkey(*mine, text_key("OTHER", 10).data(), 2, false));
      EXPECT_EQ(Result::ok, put(mine, "NEW", 2));
      EXPECT_EQ(Result::ok, ndx.leave(*mine));
      const std::uint64_t calls = plan.calls();
      EXPECT_EQ(mode == 0 ? 0u : 2u, mode == 0 ? 0u : record_of(theirs, "NEW"));
      EXPECT_EQ(Result::ok, driver(1).rmkey(*mine, text_key("NEW", 10).data(), 2, true));
      return calls;
    };
    const std::uint64_t once = mode == 0 ? 0 : 1;
    // The status question locks as well: to no avail, or for a moment.
    EXPECT_EQ(once + 1, count(only(Call::lock)));
    EXPECT_EQ(1u, count(only(Call::unlock)));
    EXPECT_EQ(once, count(only(Call::write)));
    EXPECT_EQ(2 * once, count(only(Call::read))) << "header and root";
    EXPECT_EQ(Result::ok, driver(1).rmkey(*mine, text_key("OLD", 10).data(), 1, true));
    EXPECT_EQ(Result::ok, driver(1).close(*theirs));
    EXPECT_EQ(Result::ok, driver(1).close(*mine));
  }
}

TEST_F(Brackets, what_cannot_be_written_is_forgotten_at_the_end) {
  ASSERT_EQ(0, lib.dNcreat(&block, folder.file("B").c_str(), "NAME", "C10"));
  index::Index* const handle = open_index(4);
  {
    const FaultPlan plan(1, Verdict::fail, only(Call::write), true);
    ASSERT_EQ(Result::ok, ndx.enter(*handle));
    EXPECT_EQ(Result::ok, put(handle, "A", 1));
    EXPECT_EQ(Result::io, ndx.leave(*handle));
  }
  EXPECT_EQ(0u, record_of(handle, "A"));
  {
    const FaultPlan plan(1, Verdict::fail, only(Call::lock), true);
    EXPECT_NE(Result::ok, ndx.enter(*handle));
  }
  EXPECT_EQ(Result::not_locked, put(handle, "A", 1)) << "an enter that failed needs no leave";
  EXPECT_EQ(Result::ok, driver(1).close(*handle));
}

}  // namespace
