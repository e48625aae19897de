// Indexes on computed keys: they get the length that the expression says, stay in step with the
// table, and find what they hold.

#include "support/test.h"

namespace {

struct KeyCase {
  const char* expression;
  std::int32_t length;
};

constexpr KeyCase kKeys[] = {{"UPPER(NAME)", 20},
                             {"DTOS(DUE)+STR(AMOUNT,12,2)", 20},
                             {"LEFT(CITY,5)+STATE", 7},
                             {"SUBSTR(NAME,1,3)", 3},
                             {"STR(AMOUNT,10)", 10},
                             {"PADR(TRIM(NAME),30)", 30},
                             {"IIF(AMOUNT<0,'debt','credit')+CMONTH(DUE)", 15}};
constexpr std::size_t kIndexes = std::size(kKeys);

class Customers {
 public:
  Customers() {
    EXPECT_EQ(0, lib.DBinit(&block, 8));
    const char* const fields[] = {"NAME", "C20",    "CITY",  "C15", "STATE",
                                  "C2",   "AMOUNT", "N10.2", "DUE", "D"};
    const std::string table = folder_.file("CUSTOMER");
    EXPECT_EQ(0, lib.DBcreat(&block, table.c_str(), 5, fields));
    for (std::size_t i = 0; i < kIndexes; ++i) {
      names_[i] = folder_.file("I" + std::to_string(i));
      const std::string format = "C" + std::to_string(kKeys[i].length);
      EXPECT_EQ(0, lib.dNcreat(&block, names_[i].c_str(), kKeys[i].expression, format.c_str()));
      specs_[i] = {64, names_[i].c_str(), 10, nullptr};
    }
    EXPECT_EQ(
        0, lib.DBopen(&block, table.c_str(), 0, 8, 1, kIndexes, specs_.data(), &database, nullptr));
    EXPECT_EQ(0, lib.GRPmember(database, 1, nullptr, nullptr, &table_));
  }
  ~Customers() { EXPECT_EQ(0, lib.DBclose(database)); }

  VqMember member(std::size_t index) {
    VqMember found = {};
    EXPECT_EQ(0, lib.GRPmember(database, 64, names_[index].c_str(), nullptr, &found));
    return found;
  }

  // The key of a record as the language computes it for an index.
  std::string key(std::size_t index, const std::string& record) {
    auto* const table = static_cast<VqTable*>(table_.handle);
    VqExpr* expression = nullptr;
    char type = 0;
    std::int32_t length = 0;
    char bytes[101];
    EXPECT_EQ(0, lib.dEparse(&block, kKeys[index].expression, table, &expression, &type, &length));
    EXPECT_EQ(kKeys[index].length, length);
    EXPECT_EQ(0, lib.dErun(&block, expression, record.data(), 1, 0, bytes, &length));
    EXPECT_EQ(kKeys[index].length, length);
    lib.dEfree(expression);
    return {bytes, static_cast<std::size_t>(length)};
  }

  VqBlock block;
  VqDatabase* database = nullptr;

 private:
  TemporaryFolder folder_;
  std::array<std::string, kIndexes> names_;
  std::array<VqIndexSpec, kIndexes> specs_;
  VqMember table_ = {};
};

std::string any_record(std::mt19937& random) {
  const char* const names[] = {"Ann Lee", "Bob", "ann lee", "O'Brien", "", "Zoe van der Berg"};
  const char* const cities[] = {"San Diego", "San Jose", "Oslo", "Rome"};
  std::string amount = std::to_string(static_cast<int>(random() % 20001) - 10000) + ".25";
  amount.insert(0, 10 - amount.size(), ' ');
  std::string due = std::to_string(19900101 + random() % 12 * 100 + random() % 28);
  if (random() % 10 == 0) due.assign(8, ' ');
  return " " + padded(names[random() % 6], 20) + padded(cities[random() % 4], 15) +
         (random() % 2 == 0 ? "CA" : "NV") + amount + due;
}

TEST(ComputedKeys, indexes_stay_in_step_and_find_what_they_hold) {
  Customers customers;
  std::mt19937 random(50);
  std::vector<std::string> records;
  for (int i = 0; i < 400; ++i) {
    records.push_back(any_record(random));
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBapprec(customers.database, records.back().data(), &recno));
  }
  for (int i = 0; i < 200; ++i) {
    const auto recno = static_cast<std::uint32_t>(1 + random() % 400);
    records[recno - 1] = any_record(random);
    ASSERT_EQ(0, lib.DBupdrec(customers.database, recno, records[recno - 1].data()));
  }
  for (std::size_t index = 0; index < kIndexes; ++index) {
    SCOPED_TRACE(kKeys[index].expression);
    const VqMember member = customers.member(index);
    EXPECT_EQ(kKeys[index].length, member.key_length);
    EXPECT_EQ('C', member.key_type);
    std::set<std::uint32_t> seen;
    std::string last;
    std::string record(records.front().size(), '\0');
    char key[101];
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBrewind(&member));
    while (lib.DBnextrec(&member, record.data(), &recno, key) == 0) {
      const std::string bytes(key, static_cast<std::size_t>(kKeys[index].length));
      EXPECT_EQ(customers.key(index, records[recno - 1]), bytes) << recno;
      EXPECT_LE(last, bytes);
      last = bytes;
      seen.insert(recno);
    }
    EXPECT_EQ(records.size(), seen.size());
    for (std::size_t i = 0; i < records.size(); i += 7) {
      const std::string wanted = customers.key(index, records[i]);
      ASSERT_EQ(0, lib.DBgetrec(&member, wanted.data(), record.data(), &recno));
      EXPECT_EQ(wanted, customers.key(index, record));
    }
  }
}

}  // namespace
