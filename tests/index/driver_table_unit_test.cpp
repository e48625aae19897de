#include <cstring>

#include "index/driver_table.h"
#include "index/ndx_keys.h"
#include "index/ndx_open.h"
#include "support/ndx_fixture.h"
#include "table/table.h"

namespace vqdb::testing {
namespace {

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
  EXPECT_EQ(Result::ok, ndx.putkey(*handle, higher.data(), 8, false));
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
  EXPECT_EQ(Result::ok, ndx.rmkey(*handle, key.data(), 7, false));
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

}  // namespace
}  // namespace vqdb::testing
