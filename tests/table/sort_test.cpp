#include "support/host.h"
#include "table/scratch_table.h"

namespace {

// CITY C8, AMOUNT N8.2, DUE D, OK L, NOTE M: 36 bytes and the flag.
constexpr std::size_t kCity = 1, kAmount = 9, kDue = 17, kOk = 25;

std::string random_record(std::mt19937& random) {
  static const char* const cities[] = {"Bern", "bern", "BERN", "Zug", "aarau", "Aarau", ""};
  static const char* const amounts[] = {"    1.50", "   -1.50", "   10.00", "     9.9",
                                        "        ", "       0", "   -0.00"};
  static const char* const dates[] = {"19991231", "20000101", "        ", "18870615"};
  static const char* const truths[] = {"T", "F", "y", "?", " "};
  std::string record(1, random() % 4 == 0 ? '*' : ' ');
  record += padded(cities[random() % 7], 8);
  record += amounts[random() % 7];
  record += dates[random() % 4];
  record += truths[random() % 5];
  return record + std::string(10, ' ');
}

double amount(const std::string& record) { return std::atof(record.substr(kAmount, 8).c_str()); }
std::string upper_city(const std::string& record) {
  std::string city = record.substr(kCity, 8);
  std::transform(city.begin(), city.end(), city.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return city;
}
bool truth(const std::string& record) { return record[kOk] == 'T' || record[kOk] == 'y'; }

struct Unsorted {
  explicit Unsorted(std::size_t count) {
    block.page_count_setting = 1;
    block.count_setting = 2;
    EXPECT_EQ(0,
              create_table(block, source,
                           {"CITY", "C8", "AMOUNT", "N8.2", "DUE", "D", "OK", "L", "NOTE", "M"}));
    std::mt19937 random(11);
    OpenTable table(block, source, 0, 8);
    for (std::size_t i = 0; i < count; ++i) {
      records.push_back(random_record(random));
      EXPECT_EQ(0, lib.dDapprec(table, records.back().data()));
    }
  }

  std::vector<std::string> read(const std::string& name) {
    std::vector<std::string> all;
    OpenTable table(block, name, 0, 8);
    for (std::uint32_t i = 1; i <= record_count(table); ++i) {
      all.emplace_back(36, ' ');
      EXPECT_EQ(0, lib.dDgetrec(table, i, all.back().data()));
    }
    return all;
  }

  TemporaryFolder folder;
  VqBlock block = block_of_kind(1);
  std::string source = folder.file("SOURCE");
  std::string target = folder.file("TARGET");
  std::vector<std::string> records;
};

TEST(TableSort, orders_by_every_type_direction_and_case) {
  using Less = std::function<bool(const std::string&, const std::string&)>;
  const auto by_date = [](const std::string& a, const std::string& b) {
    return a.compare(kDue, 8, b, kDue, 8) < 0;
  };
  const std::pair<const char*, Less> cases[] = {
      {"CITY", [](const auto& a, const auto& b) { return a.compare(kCity, 8, b, kCity, 8) < 0; }},
      {" city / ac ", [](const auto& a, const auto& b) { return upper_city(a) < upper_city(b); }},
      {"AMOUNT/D", [](const auto& a, const auto& b) { return amount(a) > amount(b); }},
      {"DUE/A", by_date},
      {"OK/D,DUE", [&](const auto& a,
                       const auto& b) { return truth(a) != truth(b) ? truth(a) : by_date(a, b); }},
      {"CITY/DC,AMOUNT/A,DUE/D", [&](const auto& a, const auto& b) {
         if (upper_city(a) != upper_city(b)) return upper_city(a) > upper_city(b);
         return amount(a) != amount(b) ? amount(a) < amount(b) : by_date(b, a);
       }}};
  Unsorted table(3000);  // more than three passes fit in the workspace
  for (const auto& [keys, less] : cases) {
    ASSERT_EQ(0, lib.dDsort(&table.block, table.source.c_str(), table.target.c_str(), keys))
        << keys << ", detail " << table.block.detail;
    std::vector<std::string> expected = table.records;
    std::stable_sort(expected.begin(), expected.end(), less);
    EXPECT_EQ(expected, table.read(table.target)) << keys;
  }
  table.block.runtime_flags = 1;
  ASSERT_EQ(0, lib.dDsort(&table.block, table.source.c_str(), table.target.c_str(), "CITY/A"));
  EXPECT_EQ(1, table.block.runtime_flags);
  table.block.runtime_flags = 0;
  std::vector<std::string> expected = table.records;
  std::stable_sort(expected.begin(), expected.end(), cases[0].second);
  EXPECT_EQ(expected, table.read(table.target));
}

TEST(TableSort, refuses_what_it_cannot_order_and_leaves_the_target) {
  Unsorted table(3);
  write_file(table.target + ".DBF", "kept");
  struct Case {
    const char* target;
    const char* keys;
    std::int32_t result, detail;
  };
  for (const Case& wrong :
       {Case{"TARGET", "", VQ_E_NOT_ALLOWED, 441}, Case{"", "CITY", VQ_E_NOT_ALLOWED, 441},
        Case{"source.dbf", "CITY", VQ_E_NOT_ALLOWED, 441},
        Case{"TARGET", "CITY,", VQ_E_NOT_ALLOWED, 441},
        Case{"TARGET", "CITY/X", VQ_E_NOT_ALLOWED, 441},
        Case{"TARGET", "CITY/ACC", VQ_E_NOT_ALLOWED, 441}, Case{"TARGET", "TOWN", VQ_E_RANGE, 442},
        Case{"TARGET", "CITY,NOTE/A", VQ_E_NOT_ALLOWED, 442}}) {
    const std::string target =
        *wrong.target == '\0' ? std::string() : table.folder.file(wrong.target);
    EXPECT_EQ(wrong.result,
              lib.dDsort(&table.block, table.source.c_str(), target.c_str(), wrong.keys))
        << wrong.keys;
    EXPECT_EQ(wrong.detail, table.block.detail) << wrong.keys;
  }
  EXPECT_EQ("kept", read_file(table.target + ".DBF"));
  EXPECT_EQ(VQ_E_NOT_FOUND, lib.dDsort(&table.block, table.folder.file("NONE").c_str(),
                                       table.target.c_str(), "CITY"));
}

TEST(TableSort, leaves_everything_as_it_was_when_the_host_cancels) {
  Unsorted table(4000);
  write_file(table.target + ".DBF", "kept");
  const auto before = table.folder.list();
  const Host host(table.block, 2);
  EXPECT_EQ(VQ_E_CANCELLED,
            lib.dDsort(&table.block, table.source.c_str(), table.target.c_str(), "CITY"));
  EXPECT_EQ(2u, host.reports);
  EXPECT_EQ("kept", read_file(table.target + ".DBF"));
  EXPECT_EQ(before, table.folder.list());
}

}  // namespace
