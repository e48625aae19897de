// The table that the database tests work on, ORDERS, with four indexes of different key types, and
// the model that says what each of them must hold.
#ifndef VQDBSYS_TESTS_SUPPORT_ORDERS_H_
#define VQDBSYS_TESTS_SUPPORT_ORDERS_H_

#include <compare>
#include <span>

#include "support/test.h"
#include "vqdbsys.h"

namespace vqdb::testing {

// A field of a packed record, to which the test macros cannot have a reference.
template <typename T>
T value(T field) {
  return field;
}

// NAME C12, AMOUNT N9.2, DUE D, PAID L: 31 bytes with the deletion flag.
inline constexpr std::size_t kOrderBytes = 31;

struct Order {
  std::string name;
  std::int32_t cents = 0;
  std::int32_t due = 1;  // day of January 1990
  bool paid = false, deleted = false;

  bool operator==(const Order&) const = default;
};

// The whole record of an order, and back.
std::string record_of(const Order& order);
Order order_in(const std::string& record);

// A key as a value: a text or a number.
struct OrderKey {
  std::string text;
  double number = 0;

  auto operator<=>(const OrderKey&) const = default;  // NOLINT(modernize-use-nullptr)
};

struct OrderIndex {
  std::uint32_t kind;  // of the description
  const char* file;
  const char* expression;
  const char* format;  // for dNcreat
  bool numeric;
  OrderKey (*key_of)(const Order&);

  // The key's bytes, and back. A text key is as long as the text.
  std::string bytes_of(const OrderKey& key) const;
  OrderKey key_in(const char* bytes) const;
};

inline constexpr std::size_t kOrderIndexes = 4;
extern const std::array<OrderIndex, kOrderIndexes> kOrderIndex;

// ORDERS in a folder of its own.
class Orders {
 public:
  explicit Orders(std::uint32_t dialect = 1);

  // Table and index files, all empty.
  void create();
  // With the four indexes, with others, or with those of its list; null and a test failure when it
  // cannot be opened.
  VqDatabase* open(std::uint32_t mode = 0) { return open(mode, specs); }
  VqDatabase* open(std::uint32_t mode, std::span<VqIndexSpec> others);
  VqDatabase* use(std::uint32_t mode = 0);

  std::string file(const std::string& name) const { return folder.file(name); }
  std::string table() const { return file("ORDERS"); }

  TemporaryFolder folder;
  VqBlock block;
  std::array<VqIndexSpec, kOrderIndexes> specs;

 private:
  std::array<std::string, kOrderIndexes> names_;
};

// The member that navigates in the order of kOrderIndex[index].
VqMember order_member(VqDatabase* database, const Orders& orders, std::size_t index);
VqMember table_member(VqDatabase* database);

// Whether the library, or anybody else in this process, has the file open.
bool is_open(const std::string& file);

// Tests that every index of the database holds exactly the keys of the records (record n being
// records[n - 1]), in order, walking forward and backward, and that the table holds the records.
void expect_in_step(VqDatabase* database, const Orders& orders, const std::vector<Order>& records);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_ORDERS_H_
