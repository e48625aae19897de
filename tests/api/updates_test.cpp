#include "support/ndx_checker.h"
#include "support/orders.h"

namespace {

std::int32_t append(VqDatabase* database, const Order& order, std::uint32_t& recno) {
  return lib.DBapprec(database, record_of(order).data(), &recno);
}

TEST(Updates, a_key_that_a_unique_index_holds_is_forgiven_to_appends_only) {
  Orders orders;
  orders.create();
  const std::string unique = orders.file("UNIQUE");
  ASSERT_EQ(0, lib.dNcreat(&orders.block, unique.c_str(), "NAME", "C12U"));
  std::array specs = {VqIndexSpec{64, unique.c_str(), 10, nullptr}};
  VqDatabase* const database = orders.open(0, specs);
  std::uint32_t recno = 0;
  ASSERT_EQ(0, append(database, {"ann", 1, 1}, recno));
  ASSERT_EQ(0, append(database, {"ann", 2, 1}, recno));
  EXPECT_EQ(2U, recno);
  ASSERT_EQ(0, append(database, {"bob", 3, 1}, recno));
  EXPECT_EQ(VQ_E_INDEX_PAGE, lib.DBupdrec(database, 3, record_of({"ann", 3, 1}).data()));

  // The record is rewritten although its key was refused, and its old key is gone.
  VqMember member = {};
  ASSERT_EQ(0, lib.GRPmember(database, 64, nullptr, nullptr, &member));
  std::string record(kOrderBytes, '\0');
  char key[16];
  ASSERT_EQ(0, lib.DBrewind(&member));
  ASSERT_EQ(0, lib.DBnextrec(&member, record.data(), &recno, key));
  EXPECT_EQ(1U, recno);
  EXPECT_EQ(VQ_E_INDEX_END, lib.DBnextrec(&member, record.data(), &recno, key));
  // The record without a key can be changed: a key that is not there is no failure.
  EXPECT_EQ(0, lib.DBupdrec(database, 2, record_of({"cid", 2, 1}).data()));
  EXPECT_EQ(0, lib.DBclose(database));
}

// NAMES, a unique index on the amount and MIXED, in this order.
VqDatabase* open_with_unique_amounts(Orders& orders, std::array<VqIndexSpec, 3>& specs,
                                     const std::string& unique) {
  orders.create();
  EXPECT_EQ(0, lib.dNcreat(&orders.block, unique.c_str(), "AMOUNT", "NU"));
  specs = {orders.specs[0], VqIndexSpec{64, unique.c_str(), 10, nullptr}, orders.specs[2]};
  return orders.open(2, specs);
}

TEST(Updates, the_former_contents_repair_an_update_that_a_unique_index_refused) {
  Orders orders;
  const std::string unique = orders.file("UNIQUE");
  std::array<VqIndexSpec, 3> specs;
  VqDatabase* const database = open_with_unique_amounts(orders, specs, unique);
  const Order ann = {"ann", 1, 1};
  const Order bob = {"bob", 2, 2};
  std::uint32_t recno = 0;
  ASSERT_EQ(0, append(database, ann, recno));
  ASSERT_EQ(0, append(database, bob, recno));
  EXPECT_EQ(VQ_E_INDEX_PAGE, lib.DBupdrec(database, 2, record_of({"cid", 1, 3}).data()));
  ASSERT_EQ(0, lib.DBupdrec(database, 2, record_of(bob).data()));
  const Order dan = {"dan", 4, 4};
  ASSERT_EQ(0, lib.DBupdrec(database, 2, record_of(dan).data()));
  ASSERT_EQ(0, lib.DBclose(database));
  for (const auto& [file, index] :
       {std::pair{"NAMES.NDX", 0U}, std::pair{"UNIQUE.NDX", 1U}, std::pair{"MIXED.NDX", 2U}}) {
    const OrderIndex& like = kOrderIndex[index];
    const std::vector<NdxEntry> expected = {{like.bytes_of(like.key_of(ann)), 1},
                                            {like.bytes_of(like.key_of(dan)), 2}};
    EXPECT_EQ(expected, read_ndx(orders.file(file)).entries) << file;
  }
}

TEST(Updates, a_damaged_tree_is_no_duplicate) {
  Orders orders;
  orders.create();
  VqDatabase* const database = orders.open(2);
  std::uint32_t recno = 0;
  ASSERT_EQ(0, append(database, {"ann", 1, 1}, recno));
  write_bytes(orders.file("NAMES.NDX"), 512, "\xFF\xFF");
  EXPECT_EQ(VQ_E_INDEX_PAGE, append(database, {"bob", 2, 1}, recno));
  EXPECT_EQ(0, lib.DBclose(database));
}

TEST(Updates, deleting_and_recalling_move_keys_that_read_the_mark) {
  for (const std::uint32_t mode : {0U, 2U, 4U}) {
    Orders orders;
    orders.create();
    const std::string file = orders.file("ALIVE");
    ASSERT_EQ(0, lib.dNcreat(&orders.block, file.c_str(), "IIF(DELETED(),'D','L')+NAME", "C13"));
    std::array specs = {orders.specs[0], VqIndexSpec{64, file.c_str(), 10, nullptr}};
    VqDatabase* const database = orders.open(mode, specs);
    std::uint32_t recno = 0;
    ASSERT_EQ(0, append(database, {"ann", 1, 1}, recno));
    const auto keys = [&] {
      EXPECT_EQ(0, lib.DBflush(database));
      std::vector<std::string> first_letters;
      for (const NdxEntry& entry : read_ndx(file + ".NDX").entries) {
        first_letters.push_back(entry.first.substr(0, 2));
      }
      return first_letters;
    };
    EXPECT_EQ(std::vector<std::string>{"La"}, keys());
    for (int twice = 0; twice < 2; ++twice) {
      ASSERT_EQ(0, lib.DBdelrec(database, 1)) << orders.block.detail;
      EXPECT_EQ(std::vector<std::string>{"Da"}, keys());
    }
    ASSERT_EQ(0, lib.DBupdrec(database, 1, record_of({"bob", 1, 1, false, true}).data()));
    EXPECT_EQ(std::vector<std::string>{"Db"}, keys());
    orders.block.runtime_flags = 1;
    ASSERT_EQ(0, lib.DBupdrec(database, 1, record_of({"bob", 1, 1}).data() + 1));
    EXPECT_EQ(std::vector<std::string>{"Lb"}, keys());
    ASSERT_EQ(0, lib.DBdelrec(database, 1));
    EXPECT_EQ(std::vector<std::string>{"Db"}, keys());
    ASSERT_EQ(0, lib.DBrclrec(database, 1));
    EXPECT_EQ(std::vector<std::string>{"Lb"}, keys());
    EXPECT_EQ(1U, read_ndx(orders.file("NAMES.NDX")).entries.size());
    EXPECT_EQ(0, lib.DBclose(database));
  }
}

TEST(Updates, an_update_that_changes_no_key_writes_no_index) {
  Orders orders;
  orders.create();
  VqDatabase* database = orders.open();
  std::uint32_t recno = 0;
  ASSERT_EQ(0, append(database, {"ann", 1, 1}, recno));
  ASSERT_EQ(0, lib.DBclose(database));
  // An index file that holds no keys stays so when no key changes.
  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    ASSERT_EQ(0, lib.dNcreat(&orders.block, orders.specs[i].name, kOrderIndex[i].expression,
                             kOrderIndex[i].format));
  }
  database = orders.open();
  ASSERT_EQ(0, lib.DBupdrec(database, 1, record_of({"ann", 1, 1, true}).data()));
  ASSERT_EQ(0, lib.DBdelrec(database, 1));
  ASSERT_EQ(0, lib.DBrclrec(database, 1));
  std::string record(kOrderBytes, '\0');
  char key[32];
  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    const VqMember member = order_member(database, orders, i);
    ASSERT_EQ(0, lib.DBrewind(&member));
    EXPECT_EQ(VQ_E_INDEX_END, lib.DBnextrec(&member, record.data(), &recno, key));
  }
  // A changed amount brings one key into one index.
  ASSERT_EQ(0, lib.DBupdrec(database, 1, record_of({"ann", 2, 1, true}).data()));
  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    const VqMember member = order_member(database, orders, i);
    ASSERT_EQ(0, lib.DBrewind(&member));
    EXPECT_EQ(i == 1 ? 0 : VQ_E_INDEX_END, lib.DBnextrec(&member, record.data(), &recno, key));
  }
  EXPECT_EQ(0, lib.DBclose(database));
}

TEST(Updates, a_failing_key_leaves_the_record_and_the_keys_before_it) {
  Orders orders;
  orders.create();
  const std::string quotient = orders.file("QUOTIENT");
  ASSERT_EQ(0, lib.dNcreat(&orders.block, quotient.c_str(), "1/AMOUNT", "N"));
  std::vector<VqIndexSpec> specs = {
      orders.specs[0], {64, quotient.c_str(), 10, nullptr}, orders.specs[1]};
  VqDatabase* const database = orders.open(0, specs);
  std::uint32_t recno = 0;
  ASSERT_EQ(0, append(database, {"ann", 1, 1}, recno));
  EXPECT_EQ("-31/5004", codes(append(database, {"bob", 0, 1}, recno), orders.block));
  EXPECT_EQ(2U, recno);
  std::string record(kOrderBytes, '\0');
  std::uint32_t number = 0;
  char key[32];
  std::vector<int> entries;
  for (const VqIndexSpec& spec : specs) {
    VqMember member = {};
    ASSERT_EQ(0, lib.GRPmember(database, 64, spec.name, nullptr, &member));
    ASSERT_EQ(0, lib.DBrewind(&member));
    entries.push_back(0);
    while (lib.DBnextrec(&member, record.data(), &number, key) == 0) ++entries.back();
  }
  EXPECT_EQ((std::vector<int>{2, 1, 1}), entries);

  // The key that could not be made does not stop the update that corrects it.
  ASSERT_EQ(0, lib.DBupdrec(database, 2, record_of({"bob", 4, 1}).data()));
  ASSERT_EQ(0, lib.DBclose(database));
  for (const char* const file : {"NAMES.NDX", "QUOTIENT.NDX", "AMOUNTS.NDX"}) {
    EXPECT_EQ(2U, read_ndx(orders.file(file)).entries.size()) << file;
  }
}

// In more indexes than are searched together.
TEST(Updates, keys_of_an_append_go_where_they_go_one_by_one) {
  Orders orders;
  orders.create();
  std::array<std::string, 18> files;
  std::array<VqIndexSpec, 17> specs;
  for (std::size_t i = 0; i < files.size(); ++i) {
    files[i] = orders.file("I" + std::to_string(i) + ".NDX");
    ASSERT_EQ(0, lib.dNcreat(&orders.block, files[i].c_str(), "AMOUNT", "N"));
    if (i < specs.size()) specs[i] = {64, files[i].c_str(), 10, nullptr};
  }
  const auto amount_of = [](std::uint32_t n) { return static_cast<int>(n * 37 % 101); };
  VqDatabase* const database = orders.open(0, specs);
  std::uint32_t recno = 0;
  for (std::uint32_t n = 1; n <= 1500; ++n) {
    ASSERT_EQ(0, append(database, {"ann", 100 * amount_of(n), 1}, recno));
  }
  ASSERT_EQ(0, lib.DBclose(database));
  VqTable* const table = lib.dDopen(&orders.block, orders.table().c_str(), 0, 1);
  VqIndex* const index = lib.dNopen(table, files.back().c_str(), 0, 10);
  for (std::uint32_t n = 1; n <= 1500; ++n) {
    const double key = amount_of(n);
    ASSERT_EQ(0, lib.dNputkey(index, &key, n));
  }
  ASSERT_EQ(0, lib.dNclose(index));
  ASSERT_EQ(0, lib.dDclose(table));
  for (const std::string& file : files) EXPECT_EQ(read_file(files.back()), read_file(file));
}

TEST(Updates, refusals_of_the_table_come_through_and_change_no_index) {
  Orders orders;
  orders.create();
  VqDatabase* database = orders.open();
  std::uint32_t recno = 0;
  ASSERT_EQ(0, append(database, {"ann", 1, 1}, recno));
  EXPECT_EQ(VQ_E_RANGE, lib.DBupdrec(database, 2, record_of({"bob", 1, 1}).data()));
  EXPECT_EQ(VQ_E_RANGE, lib.DBdelrec(database, 0));
  ASSERT_EQ(0, lib.DBclose(database));
  for (const std::uint32_t mode : {1U, 5U}) {
    database = orders.open(mode);
    EXPECT_EQ("-16/323", codes(append(database, {"bob", 1, 1}, recno), orders.block));
    EXPECT_EQ("-16/463",
              codes(lib.DBupdrec(database, 1, record_of({"bob", 1, 1}).data()), orders.block));
    EXPECT_EQ(VQ_E_READ_ONLY, lib.DBdelrec(database, 1));
    expect_in_step(database, orders, {{"ann", 1, 1}});
    EXPECT_EQ(0, lib.DBclose(database));
  }
}

}  // namespace
