#include "support/orders.h"

namespace {

class IndexList : public ::testing::Test {
 protected:
  void SetUp() override { orders_.create(); }

  // The names of the index members that DBuse opens from a list of this text, in order.
  std::vector<std::string> use(const std::string& list, std::int32_t& result) {
    write_file(orders_.file("ORDERS.DD"), list);
    VqDatabase* database = nullptr;
    orders_.block.detail = 0;
    result = lib.DBuse(&orders_.block, orders_.table().c_str(), 32, &database);
    std::vector<std::string> names;
    if (result != 0) {
      EXPECT_EQ(nullptr, database);
      EXPECT_FALSE(is_open(orders_.file("ORDERS.DBF")));
      return names;
    }
    for (const std::uint32_t kind : {64U, 128U}) {
      for (const OrderIndex& index : kOrderIndex) {
        VqMember member;
        if (index.kind == kind &&
            lib.GRPmember(database, kind, index_file(index.file).c_str(), nullptr, &member) == 0) {
          EXPECT_EQ(kind, value(member.kind));
          names.emplace_back(index.file);
        }
      }
    }
    EXPECT_EQ(names.size(), value(table_member(database).flags));
    EXPECT_EQ(0, lib.DBclose(database));
    return names;
  }

  std::string index_file(const std::string& name) const { return orders_.file(name); }

  // A list line with the path of an index in the place of its name.
  std::string with_paths(std::string list) const {
    for (const OrderIndex& index : kOrderIndex) {
      for (std::size_t at = list.find(index.file); at != std::string::npos;
           at = list.find(index.file, at + index_file(index.file).size())) {
        list.replace(at, std::string(index.file).size(), index_file(index.file));
      }
    }
    return list;
  }

  Orders orders_;
};

TEST_F(IndexList, is_written_at_open_as_specified) {
  VqDatabase* const database = orders_.open();
  ASSERT_NE(nullptr, database);
  const std::string list = with_paths("NDX=NAMES\r\nNDX=AMOUNTS\r\nNDX=MIXED\r\nNDX3=DUES\r\n");
  EXPECT_EQ(list, read_file(orders_.file("ORDERS.DD")));
  EXPECT_EQ(0, lib.DBclose(database));

  // The same group in another order, as a chain, with a kind that no line stands for.
  VqIndexSpec skipped = {1, "NOBODY", 10, &orders_.specs[0]};
  orders_.specs[3].next = &skipped;
  VqDatabase* again = nullptr;
  VqIndexSpec* failed = nullptr;
  ASSERT_EQ(0, lib.DBopen(&orders_.block, orders_.file("orders.dbf").c_str(), 0, 1, 2, 3,
                          &orders_.specs[3], &again, &failed));
  EXPECT_EQ(with_paths("NDX3=DUES\r\nNDX=NAMES\r\n"), read_file(orders_.file("ORDERS.DD")));
  EXPECT_EQ(0, lib.DBclose(again));
}

TEST_F(IndexList, is_left_alone_where_the_mode_or_the_group_says_so) {
  write_file(orders_.file("ORDERS.DD"), "kept");
  struct Case {
    std::uint32_t mode;
    std::int32_t count;
  };
  for (const auto& [mode, count] : {Case{32, 4}, Case{0, 0}, Case{0, -1}}) {
    VqDatabase* database = nullptr;
    ASSERT_EQ(0, lib.DBopen(&orders_.block, orders_.table().c_str(), mode, 1, 1, count,
                            orders_.specs.data(), &database, nullptr));
    EXPECT_EQ(0, lib.DBclose(database));
    EXPECT_EQ("kept", read_file(orders_.file("ORDERS.DD")));
  }
}

// A list that tells another group would be worse than none.
TEST_F(IndexList, a_group_with_a_name_that_no_list_can_hold_has_none) {
#if defined(_WIN32)
  const std::vector<const char*> names = {"MY NAMES", "A=B"};  // no file has the others
#else
  const std::vector<const char*> names = {"MY NAMES", "A=B", "NAMES\tB", "NAMES\r"};
#endif
  for (const char* const name : names) {
    const std::string file = orders_.file(name);
    ASSERT_EQ(0, lib.dNcreat(&orders_.block, file.c_str(), "NAME", "C12"));
    std::array specs = {orders_.specs[0], VqIndexSpec{64, file.c_str(), 4, nullptr}};
    write_file(orders_.file("ORDERS.DD"), "another group");
    EXPECT_EQ(0, lib.DBclose(orders_.open(0, specs)));
    EXPECT_FALSE(file_exists(orders_.file("ORDERS.DD"))) << name;
    std::filesystem::remove(file + ".NDX");

    VqDatabase* const database = orders_.use();
    EXPECT_EQ(VQ_E_NOT_ALLOWED,
              lib.DBindex(database, 64, file.c_str(), nullptr, "NAME", nullptr, 0));
    EXPECT_EQ(6323, orders_.block.detail);
    EXPECT_FALSE(file_exists(file + ".NDX"));
    EXPECT_EQ(0, lib.DBclose(database));
  }
  VqDatabase* const database = orders_.use(32);
  EXPECT_EQ(
      0, lib.DBindex(database, 64, orders_.file("MY NAMES").c_str(), nullptr, "NAME", nullptr, 0));
  EXPECT_EQ(0, lib.DBclose(database));
}

TEST_F(IndexList, lines_are_read_by_their_rules) {
  const struct {
    std::string list;
    std::vector<std::string> names;
  } cases[] = {{"NDX=NAMES\r\nNDX3=DUES\r\n", {"NAMES", "DUES"}},
               {"ndx=NAMES\r\nNdx3=DUES\r\n", {"NAMES", "DUES"}},
               {"NDX = NAMES\r\n\tNDX3 \t=DUES  \r\n", {"NAMES", "DUES"}},
               {"NDX =NAMES and more = text\r\n", {"NAMES"}},
               {"\r\n\r\n  \t\r\nNDX=NAMES\r\n", {"NAMES"}},
               // A line that nothing ends is not read.
               {"NDX=NAMES\r\nNDX3=DUES", {"NAMES"}},
               {"NDX=NAMES", {}},
               // Bare line feeds lose the line behind an index.
               {"NDX=NAMES\nNDX3=DUES\n", {"NAMES"}},
               {"NDX=NAMES\nNDX3=DUES\nNDX=MIXED\n", {"NAMES", "MIXED"}},
               {" \nNDX=NAMES\n", {"NAMES"}},
               // A zero byte ends the text.
               {std::string("NDX=NAMES\r\n\0NDX3=DUES\r\n", 23), {"NAMES"}}};
  for (const auto& test : cases) {
    std::int32_t result = 0;
    EXPECT_EQ(test.names, use(with_paths(test.list), result)) << test.list;
    EXPECT_EQ(0, result) << test.list;
  }
}

TEST_F(IndexList, broken_lists_open_nothing) {
  const struct {
    const char* list;
    std::int32_t result, detail;
  } cases[] = {{"", VQ_E_FORMAT, 6303},
               {"NDX\r\n", VQ_E_FORMAT, 6311},
               {"NDX=\r\n", VQ_E_FORMAT, 6311},
               {"NDX=NAMES\r\nNDX3 =\r\n", VQ_E_FORMAT, 6311},
               {"BTREE=NAMES\r\n", VQ_E_FORMAT, 6307},
               {"NDX NAMES DUES\r\n", VQ_E_FORMAT, 6307},
               {"=NDX NAMES\r\n", VQ_E_FORMAT, 6307},
               {"NDX==\r\n", VQ_E_FORMAT, 6307},
               {"NDX=ndx3\r\n", VQ_E_FORMAT, 6307},
               {"NDX=NOWHERE\r\n", VQ_E_NOT_FOUND, 10421},
               {"CLIPNTX=NAMES\r\n", VQ_E_NO_DRIVER, 0},
               {"FOXIDX=NAMES\r\n", VQ_E_NO_DRIVER, 0},
               {"FOXCDX=NAMES\r\n", VQ_E_NO_DRIVER, 0}};
  for (const auto& test : cases) {
    std::int32_t result = 0;
    (void)use(with_paths(test.list), result);
    EXPECT_EQ(test.result, result) << test.list;
    EXPECT_EQ(test.detail, orders_.block.detail) << test.list;
  }
}

TEST_F(IndexList, a_table_without_one_opens_without_indexes) {
  VqDatabase* const database = orders_.use();
  EXPECT_EQ(0U, value(table_member(database).flags));
  EXPECT_EQ(0, lib.DBclose(database));
  EXPECT_FALSE(file_exists(orders_.file("ORDERS.DD")));
}

}  // namespace
