
#include "support/orders.h"

namespace {

// A database without indexes, and as many orders as fill some pages.
class Building : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* const fields[] = {"NAME", "C12", "AMOUNT", "N9.2", "DUE", "D", "PAID", "L"};
    ASSERT_EQ(0, lib.DBcreat(&orders_.block, orders_.table().c_str(), 4, fields));
    database_ = orders_.use();
    for (int i = 0; i < 200; ++i) append({std::string(1, static_cast<char>('a' + i % 26)), i, 1});
  }
  void TearDown() override { EXPECT_EQ(0, lib.DBclose(database_)); }

  void append(const Order& order) {
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBapprec(database_, record_of(order).data(), &recno));
    records_.push_back(order);
  }

  std::int32_t build(const OrderIndex& index, std::uint32_t options = 0) {
    return lib.DBindex(database_, index.kind, orders_.file(index.file).c_str(), nullptr,
                       index.expression, nullptr, options);
  }

  void build_all() {
    for (const OrderIndex& index : kOrderIndex) ASSERT_EQ(0, build(index)) << orders_.block.detail;
  }

  Orders orders_;
  VqDatabase* database_ = nullptr;
  std::vector<Order> records_;
};

std::int32_t VQ_CALL cancel(void*, std::uint32_t, std::uint32_t) { return 1; }

TEST_F(Building, new_indexes_join_the_group_and_its_list) {
  build_all();
  EXPECT_EQ(kOrderIndexes, value(table_member(database_).flags));
  expect_in_step(database_, orders_, records_);
  append({"later", 7, 7});
  expect_in_step(database_, orders_, records_);
  ASSERT_EQ(0, lib.DBclose(database_));
  database_ = orders_.use();
  EXPECT_EQ(kOrderIndexes, value(table_member(database_).flags));
  expect_in_step(database_, orders_, records_);
}

TEST_F(Building, a_shared_table_is_locked_meanwhile_only_and_read_afresh) {
  for (const std::uint32_t mode : {2U, 4U}) {
    ASSERT_EQ(0, lib.DBclose(database_));
    for (const auto& index : kOrderIndex) {
      std::filesystem::remove(orders_.file(std::string(index.file) + ".NDX"));
    }
    database_ = orders_.open(mode | 32, {});
    auto* const table = static_cast<VqTable*>(table_member(database_).handle);
    std::string record(kOrderBytes, '\0');
    ASSERT_EQ(0, lib.dDgetrec(table, 1, record.data()));
    // Another user's changes behind what has been read.
    VqTable* const other = lib.dDopen(&orders_.block, orders_.table().c_str(), mode, 1);
    records_[0] = {"changed", static_cast<int>(mode), 3};
    ASSERT_EQ(0, lib.dDupdrec(other, 1, record_of(records_[0]).data()));
    records_.push_back({"added", 5, 5});
    ASSERT_EQ(0, lib.dDapprec(other, record_of(records_.back()).data()));
    ASSERT_EQ(0, lib.dDclose(other));
    build_all();
    EXPECT_EQ(0, lib.dDlkcnt(table));
    append({"later", 7, 7});
    ASSERT_EQ(0, lib.dDclearbuf(table));
    expect_in_step(database_, orders_, records_);
    EXPECT_EQ("-11/6331", codes(lib.DBreindex(database_), orders_.block));
  }
}

TEST_F(Building, refusals_leave_the_group_as_it_was) {
  struct Case {
    std::uint32_t kind;
    const char* name;
    const char* key;
    std::int32_t result, detail;
  };
  ASSERT_EQ(0, build(kOrderIndex[0]));
  const std::string list = read_file(orders_.file("ORDERS.DD"));
  const Case cases[] = {{64, "names", "AMOUNT", VQ_E_NOT_ALLOWED, 6321},
                        {64, "./NAMES", "AMOUNT", VQ_E_NOT_ALLOWED, 6321},
                        {1, "OTHER", "NAME", VQ_E_UNKNOWN_KIND, 6322},
                        {256, "OTHER", "NAME", VQ_E_NO_DRIVER, 0},
                        {1024, "OTHER", "NAME", VQ_E_NO_DRIVER, 0},
                        {64, "OTHER", "NOBODY", VQ_E_OPERAND, 6034}};
  for (const Case& test : cases) {
    const std::string file = orders_.file(test.name);
    orders_.block.detail = 0;
    EXPECT_EQ(test.result,
              lib.DBindex(database_, test.kind, file.c_str(), nullptr, test.key, nullptr, 0));
    EXPECT_EQ(test.detail, orders_.block.detail);
    EXPECT_EQ(1U, value(table_member(database_).flags));
    EXPECT_FALSE(file_exists(orders_.file("OTHER.NDX")));
    EXPECT_EQ(list, read_file(orders_.file("ORDERS.DD")));
  }
}

TEST_F(Building, rebuilt_indexes_follow_a_table_that_changed_without_them) {
  build_all();
  const VqMember names = order_member(database_, orders_, 0);
  auto* const table = static_cast<VqTable*>(table_member(database_).handle);
  for (std::uint32_t n = 1; n <= 100; ++n) {
    records_[n - 1] = {"moved", static_cast<int>(n) * 3, 9};
    ASSERT_EQ(0, lib.dDupdrec(table, n, record_of(records_[n - 1]).data()));
  }
  ASSERT_EQ(0, lib.DBreindex(database_)) << orders_.block.detail;
  // A copy from before finds its member, which is positioned nowhere.
  std::string record(kOrderBytes, '\0');
  std::array<char, 32> key;
  std::uint32_t recno = 0;
  EXPECT_EQ("-5/3044",
            codes(lib.DBcurrec(&names, record.data(), &recno, key.data()), orders_.block));
  ASSERT_EQ(0, lib.DBrewind(&names));
  ASSERT_EQ(0, lib.DBnextrec(&names, record.data(), &recno, key.data()));
  expect_in_step(database_, orders_, records_);
  append({"later", 7, 7});
  expect_in_step(database_, orders_, records_);
  std::int32_t type = 0;
  const VqMember dues = order_member(database_, orders_, 3);
  ASSERT_EQ(0, lib.DBkeytype(&dues, &type));
  EXPECT_EQ('D', type);
}

TEST_F(Building, copies_lead_to_their_own_member_or_to_none) {
  build_all();
  std::vector<VqMember> copies;
  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    copies.push_back(order_member(database_, orders_, i));
  }
  const auto expression = [](const VqMember& copy) {
    std::array<char, 250> text = {};
    const std::int32_t result = lib.DBexpr(&copy, text.data(), 250, nullptr);
    return result == 0 ? std::string(text.data()) : std::to_string(result);
  };
  for (int i = 0; i < 25; ++i) ASSERT_EQ(0, lib.DBreindex(database_));
  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    EXPECT_EQ(kOrderIndex[i].expression, expression(copies[i]));
  }
  const VqMember table = table_member(database_);
  std::string record(kOrderBytes, '\0');
  std::uint32_t recno = 0;
  for (int i = 0; i < 150; ++i) {
    ASSERT_EQ(0, lib.DBclose(database_));
    database_ = orders_.use();
    ASSERT_EQ("-10", expression(copies[0])) << i;
    ASSERT_EQ(VQ_E_BAD_HANDLE, lib.DBnextrec(&table, record.data(), &recno, nullptr)) << i;
  }
}

TEST_F(Building, packing_drops_deleted_records_and_builds_the_indexes_again) {
  build_all();
  std::vector<Order> kept;
  for (std::uint32_t n = 1; n <= records_.size(); ++n) {
    if (n % 3 != 0) {
      kept.push_back(records_[n - 1]);
    } else {
      ASSERT_EQ(0, lib.DBdelrec(database_, n));
      records_[n - 1].deleted = true;
    }
  }
  ASSERT_EQ(0, lib.DBclose(database_));
  const std::string list = read_file(orders_.file("ORDERS.DD"));
  lib.dUsetprog(&orders_.block, cancel, nullptr);
  EXPECT_EQ(VQ_E_CANCELLED, lib.DBpack(&orders_.block, orders_.table().c_str()));
  lib.dUsetprog(&orders_.block, nullptr, nullptr);
  EXPECT_EQ(list, read_file(orders_.file("ORDERS.DD")));
  database_ = orders_.use();
  expect_in_step(database_, orders_, records_);
  ASSERT_EQ(0, lib.DBclose(database_));
  ASSERT_EQ(0, lib.DBpack(&orders_.block, orders_.table().c_str())) << orders_.block.detail;
  EXPECT_EQ(list, read_file(orders_.file("ORDERS.DD")));
  database_ = orders_.use();
  expect_in_step(database_, orders_, kept);
}

TEST_F(Building, a_position_can_be_set_without_reading) {
  build_all();
  const VqMember amounts = order_member(database_, orders_, 1);
  const OrderIndex& index = kOrderIndex[1];
  std::uint32_t recno = 0;
  ASSERT_EQ(0, lib.DBsetrec(&amounts, index.bytes_of(index.key_of({"", 120, 1})).data(), &recno));
  EXPECT_EQ(121U, recno);
  std::string record(kOrderBytes, '\0');
  std::array<char, 32> key;
  ASSERT_EQ(0, lib.DBnextrec(&amounts, record.data(), &recno, key.data()));
  EXPECT_EQ(122U, recno);
  EXPECT_EQ(VQ_E_NOT_FOUND, lib.DBsetrec(&amounts, index.bytes_of({"", -1}).data(), &recno));
  EXPECT_EQ(1U, recno);
  const VqMember table = table_member(database_);
  const auto number = [](std::uintptr_t n) { return reinterpret_cast<const void*>(n); };
  ASSERT_EQ(0, lib.DBsetrec(&table, number(5), &recno));
  ASSERT_EQ(0, lib.DBnextrec(&table, record.data(), &recno, nullptr));
  EXPECT_EQ(6U, recno);
  for (const std::uintptr_t beyond : {0U, 201U}) {
    EXPECT_EQ("-4/6352", codes(lib.DBsetrec(&table, number(beyond), &recno), orders_.block));
  }
  VqMember wrong = amounts;
  wrong.kind = 16;
  EXPECT_EQ("-11/6351", codes(lib.DBsetrec(&wrong, key.data(), &recno), orders_.block));
}

TEST_F(Building, members_are_flushed_one_by_one) {
  build_all();
  append({"later", 7, 7});
  const std::string index_file = orders_.file("NAMES.NDX");
  const std::string table_file = orders_.file("ORDERS.DBF");
  const std::string index_before = read_file(index_file);
  const std::string table_before = read_file(table_file);
  const VqMember names = order_member(database_, orders_, 0);
  ASSERT_EQ(0, lib.DBmember_flush(&names));
  EXPECT_NE(index_before, read_file(index_file));
  EXPECT_EQ(table_before, read_file(table_file));
  const VqMember table = table_member(database_);
  ASSERT_EQ(0, lib.DBmember_flush(&table));
  EXPECT_NE(table_before, read_file(table_file));
  VqMember wrong = names;
  wrong.kind = 0;
  EXPECT_EQ("-11/6341", codes(lib.DBmember_flush(&wrong), orders_.block));
  wrong = names;
  wrong.name = "NAMES";
  EXPECT_EQ("-10/6340", codes(lib.DBmember_flush(&wrong), orders_.block));
}

}  // namespace
