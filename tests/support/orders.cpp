#include "support/orders.h"

#include <charconv>

namespace vqdb::testing {
namespace {

constexpr std::size_t kNameWidth = 12;
constexpr std::size_t kAmountWidth = 9;
// 31 December 1989 as date keys count: the day number and 1721425.
constexpr double kBeforeJanuary = 726467 + 1721425;

std::string upper(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  return text;
}

std::string amount_text(std::int32_t cents) {
  const std::string sign = cents < 0 ? "-" : "";
  std::string digits = std::to_string(cents < 0 ? -cents : cents);
  if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
  digits.insert(digits.size() - 2, ".");
  const std::string text = sign + digits;
  return std::string(kAmountWidth - text.size(), ' ') + text;
}

double amount(std::int32_t cents) {
  const std::string text = amount_text(cents);
  const char* const start = text.data() + text.find_first_not_of(' ');
  double value = 0;
  std::from_chars(start, text.data() + text.size(), value);
  return value;
}

std::string day_text(std::int32_t day) {
  return "199001" + std::string(day < 10 ? "0" : "") + std::to_string(day);
}

}  // namespace

const std::array<OrderIndex, kOrderIndexes> kOrderIndex = {{
    {64, "NAMES", "NAME", "C12", false,
     [](const Order& order) { return OrderKey{padded(order.name, kNameWidth)}; }},
    {64, "AMOUNTS", "AMOUNT", "N", true,
     [](const Order& order) {
       return OrderKey{"", amount(order.cents)};
     }},
    {64, "MIXED", "TRIM(UPPER(NAME))+DTOS(DUE)", "C20", false,
     [](const Order& order) {
       return OrderKey{padded(upper(order.name) + day_text(order.due), kNameWidth + 8)};
     }},
    {128, "DUES", "DUE", "3D", true,
     [](const Order& order) {
       return OrderKey{"", kBeforeJanuary + order.due};
     }},
}};

std::string record_of(const Order& order) {
  return (order.deleted ? "*" : " ") + padded(order.name, kNameWidth) + amount_text(order.cents) +
         day_text(order.due) + (order.paid ? "T" : "F");
}

Order order_in(const std::string& record) {
  Order order;
  order.deleted = record[0] == '*';
  order.name = record.substr(1, kNameWidth);
  order.name.erase(order.name.find_last_not_of(' ') + 1);
  std::string cents = record.substr(1 + kNameWidth, kAmountWidth);
  cents.erase(cents.find('.'), 1);
  order.cents = std::stoi(cents);
  order.due = std::stoi(record.substr(28, 2));
  order.paid = record[30] == 'T';
  return order;
}

std::string OrderIndex::bytes_of(const OrderKey& key) const {
  if (!numeric) return key.text;
  std::string bytes(sizeof key.number, '\0');
  std::memcpy(bytes.data(), &key.number, sizeof key.number);
  return bytes;
}

OrderKey OrderIndex::key_in(const char* bytes) const {
  OrderKey key;
  if (numeric) {
    std::memcpy(&key.number, bytes, sizeof key.number);
  } else {
    key.text.assign(bytes, static_cast<std::size_t>(std::stoi(format + 1)));
  }
  return key;
}

Orders::Orders(std::uint32_t dialect) {
  EXPECT_EQ(0, lib.DBinit(&block, dialect));
  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    names_[i] = file(kOrderIndex[i].file);
    specs[i] = {kOrderIndex[i].kind, names_[i].c_str(), 10, nullptr};
  }
}

void Orders::create() {
  const char* const fields[] = {"NAME", "C12", "AMOUNT", "N9.2", "DUE", "D", "PAID", "L"};
  ASSERT_EQ(0, lib.DBcreat(&block, table().c_str(), 4, fields)) << block.detail;
  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    ASSERT_EQ(
        0, lib.dNcreat(&block, names_[i].c_str(), kOrderIndex[i].expression, kOrderIndex[i].format))
        << block.detail;
  }
}

VqDatabase* Orders::open(std::uint32_t mode, std::span<VqIndexSpec> others) {
  VqDatabase* database = nullptr;
  VqIndexSpec* failed = nullptr;
  EXPECT_EQ(0,
            lib.DBopen(&block, table().c_str(), mode, 4, VQ_SPECS_ARRAY,
                       static_cast<std::int32_t>(others.size()), others.data(), &database, &failed))
      << block.detail;
  return database;
}

VqDatabase* Orders::use(std::uint32_t mode) {
  VqDatabase* database = nullptr;
  EXPECT_EQ(0, lib.DBuse(&block, table().c_str(), mode, &database)) << block.detail;
  return database;
}

VqMember order_member(VqDatabase* database, const Orders& orders, std::size_t index) {
  VqMember member = {};
  const std::string name = orders.file(kOrderIndex[index].file);
  EXPECT_EQ(0, lib.GRPmember(database, kOrderIndex[index].kind, name.c_str(), nullptr, &member));
  return member;
}

VqMember table_member(VqDatabase* database) {
  VqMember member = {};
  EXPECT_EQ(0, lib.GRPmember(database, 1, nullptr, nullptr, &member));
  return member;
}

bool is_open(const std::string& file) {
  namespace fs = std::filesystem;
  std::error_code error;
#ifdef _WIN32
  // The system does not rename a file that is open.
  fs::rename(file, file + ".moved", error);
  if (error) return true;
  fs::rename(file + ".moved", file);
  return false;
#else
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    if (fs::read_symlink(entry.path(), error) == fs::canonical(file)) return true;
  }
  return false;
#endif
}

void expect_in_step(VqDatabase* database, const Orders& orders, const std::vector<Order>& records) {
  VqMember table = table_member(database);
  std::string record(kOrderBytes, '\0');
  std::uint32_t recno = 0;
  ASSERT_EQ(0, lib.DBrewind(&table));
  for (const Order& order : records) {
    ASSERT_EQ(0, lib.DBnextrec(&table, record.data(), &recno, nullptr)) << orders.block.detail;
    ASSERT_EQ(record_of(order), record) << "record " << recno;
  }
  EXPECT_EQ(VQ_E_RANGE, lib.DBnextrec(&table, record.data(), &recno, nullptr));

  for (std::size_t i = 0; i < kOrderIndexes; ++i) {
    SCOPED_TRACE(kOrderIndex[i].file);
    const OrderIndex& index = kOrderIndex[i];
    const VqMember member = order_member(database, orders, i);
    using Entry = std::pair<OrderKey, std::uint32_t>;
    std::vector<Entry> expected;
    for (std::size_t n = 0; n < records.size(); ++n) {
      expected.emplace_back(index.key_of(records[n]), static_cast<std::uint32_t>(n + 1));
    }
    std::ranges::sort(expected);
    std::vector<Entry> forward;
    std::array<char, 128> key;
    ASSERT_EQ(0, lib.DBrewind(&member));
    while (forward.size() <= expected.size() &&
           lib.DBnextrec(&member, record.data(), &recno, key.data()) == 0) {
      forward.emplace_back(index.key_in(key.data()), recno);
      ASSERT_EQ(record_of(records.at(recno - 1)), record) << "record " << recno;
    }
    std::vector<Entry> backward;
    ASSERT_EQ(0, lib.DBforward(&member));
    while (backward.size() <= expected.size() &&
           lib.DBprevrec(&member, record.data(), &recno, key.data()) == 0) {
      backward.emplace_back(index.key_in(key.data()), recno);
    }
    std::ranges::reverse(backward);
    EXPECT_EQ(forward, backward);
    EXPECT_TRUE(std::ranges::is_sorted(forward, {}, &Entry::first));
    // Equal keys may come in any order of their records.
    std::ranges::sort(forward);
    EXPECT_EQ(expected, forward);
  }
}

}  // namespace vqdb::testing
