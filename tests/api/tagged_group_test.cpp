// Groups with multiple-index files: tags that are added to an open file, filters that records enter
// and leave, and one record kept in step across files of both families.
#include "support/orders.h"
#include "support/test.h"

namespace {

class TaggedGroup : public ::testing::TestWithParam<std::uint32_t> {
 protected:
  void SetUp() override {
    orders_.create();
    reopen();
    for (int i = 0; i < 40; ++i) append({std::string(1, static_cast<char>('a' + i % 26)), i, 1});
    ASSERT_EQ(
        0, lib.DBindex(database_, 64, orders_.file("NAMES2").c_str(), nullptr, "NAME", nullptr, 0));
    ASSERT_EQ(0, add_tag("CHEAP", "AMOUNT", "AMOUNT < 0.20")) << orders_.block.detail;
    ASSERT_EQ(0, add_tag("ALIVE", "NAME", ".NOT. DELETED()")) << orders_.block.detail;
  }
  void TearDown() override { EXPECT_EQ(0, lib.DBclose(database_)); }

  void reopen() {
    if (database_ != nullptr) {
      ASSERT_EQ(0, lib.DBclose(database_));
    }
    ASSERT_EQ(0, lib.DBuse(&orders_.block, orders_.table().c_str(), GetParam(), &database_))
        << orders_.block.detail;
  }

  std::int32_t add_tag(const char* tag, const char* key, const char* filter) {
    return lib.DBindex(database_, 16, orders_.file("TAGS").c_str(), tag, key, filter, 0);
  }

  void append(const Order& order) {
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBapprec(database_, record_of(order).data(), &recno)) << orders_.block.detail;
    records_.push_back(order);
  }

  void update(std::uint32_t recno, const Order& order) {
    ASSERT_EQ(0, lib.DBupdrec(database_, recno, record_of(order).data())) << orders_.block.detail;
    records_[recno - 1] = order;
  }

  void set_deleted(std::uint32_t recno, bool deleted) {
    ASSERT_EQ(0, deleted ? lib.DBdelrec(database_, recno) : lib.DBrclrec(database_, recno));
    records_[recno - 1].deleted = deleted;
  }

  std::vector<std::uint32_t> walk(std::uint32_t kind, const char* file, const char* tag) {
    VqMember member;
    EXPECT_EQ(0, lib.GRPmember(database_, kind, orders_.file(file).c_str(), tag, &member));
    std::vector<std::uint32_t> found;
    std::string record(kOrderBytes, '\0');
    std::array<char, 128> key;
    std::uint32_t recno = 0;
    EXPECT_EQ(0, lib.DBrewind(&member));
    while (lib.DBnextrec(&member, record.data(), &recno, key.data()) == 0) found.push_back(recno);
    std::ranges::sort(found);
    return found;
  }

  void expect_in_step() {
    std::vector<std::uint32_t> all;
    std::vector<std::uint32_t> cheap;
    std::vector<std::uint32_t> alive;
    for (std::uint32_t n = 1; n <= records_.size(); ++n) {
      all.push_back(n);
      if (records_[n - 1].cents < 20) cheap.push_back(n);
      if (!records_[n - 1].deleted) alive.push_back(n);
    }
    EXPECT_EQ(all, walk(64, "NAMES2", nullptr));
    EXPECT_EQ(cheap, walk(32, "TAGS", "CHEAP"));
    EXPECT_EQ(alive, walk(32, "TAGS", "ALIVE"));
  }

  Orders orders_;
  VqDatabase* database_ = nullptr;
  std::vector<Order> records_;
};

TEST_P(TaggedGroup, keeps_tags_and_files_in_step) {
  expect_in_step();
  update(5, {"zoe", 4000, 3});  // leaves CHEAP
  update(30, {"ann", 3, 3});    // enters it
  append({"new", 7, 7});
  set_deleted(3, true);
  set_deleted(5, true);
  expect_in_step();
  update(5, {"zed", 1, 1, false, true});
  set_deleted(3, false);
  expect_in_step();
  reopen();
  VqMember file;
  ASSERT_EQ(0, lib.GRPmember(database_, 16, nullptr, nullptr, &file));
  EXPECT_EQ(2, lib.DBtags(&file));
  EXPECT_EQ(4U, value(table_member(database_).flags)) << "NAMES2, TAGS and its tags";
  expect_in_step();
  set_deleted(7, true);
  expect_in_step();
}

TEST_P(TaggedGroup, a_tag_joins_an_open_file_once) {
  const VqMember table = table_member(database_);
  EXPECT_EQ("-11/6321", codes(add_tag("alive", "NAME", nullptr), orders_.block));
  EXPECT_NE(0, add_tag("WRONG", "NOBODY", nullptr));
  EXPECT_EQ(value(table.flags), value(table_member(database_).flags));
  ASSERT_EQ(0, add_tag("DUE", "DUE", nullptr)) << orders_.block.detail;
  append({"late", 50, 9});
  EXPECT_EQ(records_.size(), walk(32, "TAGS", "DUE").size());
  expect_in_step();
}

TEST_P(TaggedGroup, a_file_named_for_two_of_its_tags_is_opened_once) {
  const std::string alive = orders_.file("TAGS;ALIVE");
  const std::string cheap = orders_.file("TAGS;CHEAP");
  std::array specs = {VqIndexSpec{16, alive.c_str(), 4, nullptr},
                      VqIndexSpec{16, cheap.c_str(), 4, nullptr},
                      VqIndexSpec{64, orders_.specs[0].name, 4, nullptr}};
  ASSERT_EQ(0, lib.DBclose(database_));
  ASSERT_EQ(0, lib.DBopen(&orders_.block, orders_.table().c_str(), GetParam() | 32, 4, 1, 2,
                          specs.data(), &database_, nullptr))
      << orders_.block.detail;
  EXPECT_EQ(3U, value(table_member(database_).flags));
  append({"both", 7, 7});
  const std::vector<std::uint32_t> cheap_ones = walk(32, "TAGS", "CHEAP");
  EXPECT_EQ(records_.size(), cheap_ones.back());
  EXPECT_EQ(records_.size(), walk(32, "TAGS", "ALIVE").size());
}

INSTANTIATE_TEST_SUITE_P(modes, TaggedGroup, ::testing::Values(0U, 2U, 4U));

TEST(TaggedFiles, rebuilding_keeps_the_members_and_packing_the_files) {
  Orders orders;
  orders.create();
  VqDatabase* database = nullptr;
  ASSERT_EQ(0, lib.DBuse(&orders.block, orders.table().c_str(), 0, &database));
  std::uint32_t recno = 0;
  for (int i = 0; i < 30; ++i) {
    const Order order = {"n", i, 1, false, i % 2 == 0};
    ASSERT_EQ(0, lib.DBapprec(database, record_of(order).data(), &recno));
  }
  for (const char* const tag : {"ONE", "TWO"}) {
    ASSERT_EQ(0, lib.DBindex(database, 16, orders.file("ORDERS").c_str(), tag, "AMOUNT",
                             ".NOT. DELETED()", 0));
  }
  VqMember one;
  ASSERT_EQ(0, lib.GRPmember(database, 32, nullptr, "ONE", &one));
  ASSERT_EQ(0, lib.DBreindex(database)) << orders.block.detail;
  std::string record(kOrderBytes, '\0');
  std::array<char, 32> key;
  ASSERT_EQ(0, lib.DBrewind(&one));
  ASSERT_EQ(0, lib.DBnextrec(&one, record.data(), &recno, key.data()));
  EXPECT_EQ(2U, recno);
  ASSERT_EQ(0, lib.DBclose(database));
  ASSERT_EQ(0, lib.DBpack(&orders.block, orders.table().c_str())) << orders.block.detail;
  ASSERT_EQ(0, lib.DBuse(&orders.block, orders.table().c_str(), 0, &database));
  ASSERT_EQ(0, lib.GRPmember(database, 32, nullptr, "TWO", &one));
  ASSERT_EQ(0, lib.DBforward(&one));
  ASSERT_EQ(0, lib.DBprevrec(&one, record.data(), &recno, key.data()));
  EXPECT_EQ(15U, recno);
  EXPECT_EQ(29, order_in(record).cents);
  EXPECT_EQ(1, read_file(orders.file("ORDERS.DBF"))[28]) << "the table goes on naming its index";
  EXPECT_EQ(0, lib.DBclose(database));
}

}  // namespace
