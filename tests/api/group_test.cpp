#include "support/orders.h"

namespace {

class Group : public ::testing::Test {
 protected:
  void SetUp() override {
    orders_.create();
    database_ = orders_.open();
    ASSERT_NE(nullptr, database_);
    const std::string record = record_of({"ann", 100, 1});
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBapprec(database_, record.data(), &recno));
  }
  void TearDown() override {
    if (database_ != nullptr) {
      EXPECT_EQ(0, lib.DBclose(database_));
    }
  }

  std::int32_t find(std::uint32_t kind, const std::string& name, VqMember& member) {
    return lib.GRPmember(database_, kind, name.c_str(), nullptr, &member);
  }

  Orders orders_;
  VqDatabase* database_ = nullptr;
};

TEST_F(Group, hands_out_copies_by_kind_and_name) {
  const struct {
    std::uint32_t kind;
    const char* file;
    std::size_t index;
  } cases[] = {
      {64, "NAMES", 0}, {64, "amounts", 1}, {64, "Mixed", 2},
      {128, "DUES", 3}, {64, "DUES", 3},  // kind 64 finds NDX3 members as well
  };
  const std::int32_t lengths[] = {12, 8, 20, 8};
  const char types[] = {'C', 'N', 'C', 'D'};
  for (const auto& test : cases) {
    VqMember member = {};
    ASSERT_EQ(0, find(test.kind, orders_.file(test.file), member)) << test.file;
    EXPECT_EQ(kOrderIndex[test.index].kind, value(member.kind));
    EXPECT_EQ(orders_.file(kOrderIndex[test.index].file), value(member.name));
    EXPECT_EQ(lengths[test.index], value(member.key_length)) << test.file;
    EXPECT_EQ(types[test.index], value(member.key_type)) << test.file;
    EXPECT_EQ(database_, value(member.owner));
    EXPECT_EQ(1U, value(member.driver_column));
    EXPECT_NE(nullptr, value(member.handle));
    EXPECT_NE(nullptr, value(member.key_program));
    EXPECT_EQ(nullptr, value(member.filter_program));
    EXPECT_EQ(nullptr, value(member.tag));
  }
  VqMember first = {};
  ASSERT_EQ(0, lib.GRPmember(database_, 64, nullptr, nullptr, &first));
  EXPECT_EQ(orders_.file("NAMES"), value(first.name));
  ASSERT_EQ(0, lib.GRPmember(database_, 64, "", nullptr, &first));
  EXPECT_EQ(orders_.file("NAMES"), value(first.name));

  const VqMember table = table_member(database_);
  EXPECT_EQ(1U, value(table.kind));
  EXPECT_EQ(&orders_.block, value(table.filter_program));
  EXPECT_EQ(kOrderIndexes, value(table.flags));
  EXPECT_EQ(orders_.table(), value(table.name));
}

TEST_F(Group, says_what_it_does_not_have) {
  const struct {
    std::uint32_t kind;
    const char* name;
    std::int32_t result, detail;
  } cases[] = {{2, "", VQ_E_NOT_FOUND, 6131},     {4, "", VQ_E_NOT_FOUND, 6131},
               {8, "", VQ_E_NOT_FOUND, 6131},     {64, "OTHER", VQ_E_NOT_FOUND, 6133},
               {16, "", VQ_E_NOT_FOUND, 6133},    {32, "", VQ_E_NOT_FOUND, 6133},
               {768, "", VQ_E_NOT_FOUND, 6133},   {1024, "", VQ_E_NOT_FOUND, 6133},
               {0, "", VQ_E_NOT_ALLOWED, 6132},   {96, "", VQ_E_NOT_ALLOWED, 6132},
               {2304, "", VQ_E_NOT_ALLOWED, 6132}};
  for (const auto& test : cases) {
    VqMember member = {};
    EXPECT_EQ(codes(test.result, test.detail),
              codes(find(test.kind, test.name, member), orders_.block))
        << test.kind;
  }
}

// Every operation on a copy, by the detail code that refuses a copy of nothing alive.
struct MemberCall {
  std::int32_t detail;
  std::int32_t (*call)(const VqMember* member);
};

char record_bytes[kOrderBytes], key_bytes[128];
std::uint32_t found;
std::int32_t number;

const MemberCall kMemberCalls[] = {
    {6140, [](const VqMember* m) { return lib.DBgetrec(m, key_bytes, record_bytes, &found); }},
    {6150, [](const VqMember* m) { return lib.DBnextrec(m, record_bytes, &found, key_bytes); }},
    {6160, [](const VqMember* m) { return lib.DBprevrec(m, record_bytes, &found, key_bytes); }},
    {6170, [](const VqMember* m) { return lib.DBcurrec(m, record_bytes, &found, key_bytes); }},
    {6180, [](const VqMember* m) { return lib.DBrewind(m); }},
    {6190, [](const VqMember* m) { return lib.DBforward(m); }},
    {6260, [](const VqMember* m) { return lib.DBkeylen(m, &number); }},
    {6260, [](const VqMember* m) { return lib.DBkeytype(m, &number); }},
    {6260, [](const VqMember* m) { return lib.DBexplen(m, &number, &number); }},
    {6260, [](const VqMember* m) { return lib.DBexpr(m, key_bytes, sizeof key_bytes, &number); }}};

TEST_F(Group, refuses_stale_and_foreign_copies) {
  const VqMember live = order_member(database_, orders_, 0);
  VqMember no_owner = live;
  no_owner.owner = nullptr;
  VqMember foreign_owner = live;
  foreign_owner.owner = reinterpret_cast<VqDatabase*>(&foreign_owner);
  VqMember table_for_owner = live;
  table_for_owner.owner = static_cast<VqDatabase*>(live.handle);
  for (const VqMember& copy : {no_owner, foreign_owner, table_for_owner}) {
    for (const MemberCall& test : kMemberCalls) {
      EXPECT_EQ(VQ_E_BAD_HANDLE, test.call(&copy)) << test.detail;
    }
  }
  VqMember foreign_program = live;
  foreign_program.key_program = order_member(database_, orders_, 1).key_program;
  VqMember foreign_name = live;
  foreign_name.name = "NAMES";
  for (const VqMember& copy : {foreign_program, foreign_name}) {
    for (const MemberCall& test : kMemberCalls) {
      EXPECT_EQ(codes(-10, test.detail), codes(test.call(&copy), orders_.block));
    }
  }
}

TEST_F(Group, answers_questions_through_the_driver) {
  std::int32_t flags = -1;
  const VqMember mixed = order_member(database_, orders_, 2);
  char text[250];
  ASSERT_EQ(0, lib.DBexpr(&mixed, text, sizeof text, &flags));
  EXPECT_STREQ("TRIM(UPPER(NAME))+DTOS(DUE)", text);
  EXPECT_EQ(0, flags);
  EXPECT_EQ(0, lib.DBexpr(&mixed, text, sizeof text, nullptr));
  EXPECT_EQ(0, lib.DBexplen(&mixed, &number, nullptr));
  ASSERT_EQ(0, lib.DBexplen(&mixed, &number, &flags));
  EXPECT_EQ(27, number);
  ASSERT_EQ(0, lib.DBkeylen(&mixed, &number));
  EXPECT_EQ(20, number);
  ASSERT_EQ(0, lib.DBkeytype(&mixed, &number));
  EXPECT_EQ('C', number);
  const VqMember dues = order_member(database_, orders_, 3);
  ASSERT_EQ(0, lib.DBkeytype(&dues, &number));
  EXPECT_EQ('D', number) << "the header of an NDX3 file does not say so";

  EXPECT_EQ(VQ_E_UNAVAILABLE, lib.DBtags(&mixed));
  EXPECT_EQ(VQ_E_NO_DRIVER, lib.DBlist_tags(&mixed, 0, text));
  VqMember beyond = mixed;
  beyond.driver_column = 7;
  EXPECT_EQ(VQ_E_UNAVAILABLE, lib.DBkeylen(&beyond, &number));
  VqMember empty = mixed;
  empty.driver_column = 5;
  EXPECT_EQ(VQ_E_NO_DRIVER, lib.DBkeylen(&empty, &number));
  EXPECT_EQ(VQ_E_NO_DRIVER, lib.DBtags(&empty));
}

TEST_F(Group, memo_operations_need_a_memo_file) {
  orders_.block.detail = 0;
  EXPECT_EQ(VQ_E_NOT_ALLOWED,
            lib.DBgetmemo(database_, "0000000001", 0, 1, key_bytes, &number, &number));
  EXPECT_EQ(VQ_E_NOT_ALLOWED, lib.DBmemosize(database_, "0000000001", &number));
  EXPECT_EQ("-11/0", codes(lib.DBmemotype(database_, "0000000001", &number), orders_.block));
}

TEST(FieldText, is_taken_out_of_either_form_of_a_record) {
  Orders orders;
  orders.create();
  VqTable* const table = lib.dDopen(&orders.block, orders.table().c_str(), 0, 1);
  ASSERT_NE(nullptr, table);
  const std::string record = record_of({"ann", 1250, 7, true});
  char text[32];
  ASSERT_EQ(0, lib.DBexfield(table, record.data(), "amount", text));
  EXPECT_STREQ("    12.50", text);
  orders.block.runtime_flags = 1;
  ASSERT_EQ(0, lib.DBexfield(table, record.data() + 1, "DUE", text));
  EXPECT_STREQ("19900107", text);
  EXPECT_EQ("-4/222", codes(lib.DBexfield(table, record.data(), "NOBODY", text), orders.block));
  EXPECT_EQ(0, lib.dDclose(table));
}

}  // namespace
