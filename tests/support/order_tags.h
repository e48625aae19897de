// Tags of ORDERS, and the model that says what each of them must hold.
#ifndef VQDBSYS_TESTS_SUPPORT_ORDER_TAGS_H_
#define VQDBSYS_TESTS_SUPPORT_ORDER_TAGS_H_

#include "support/mdx_checker.h"
#include "support/orders.h"

namespace vqdb::testing {

struct OrderTag {
  const char* name;
  const char* key;
  const char* filter;
  const char* format;
  bool (*holds)(const Order&);
  std::string (*key_of)(const Order&);

  // As the calls that build by key expression take them.
  std::uint32_t options() const;
};

// The keys of tags on NAME, DUE and AMOUNT.
std::string name_key(const Order& order);
std::string due_key(const Order& order);
std::string amount_key(const Order& order);

// Tests that the tag of the file holds exactly the records that are its, under their keys.
void expect_tag(const OrderTag& tag, const MdxReport& report, const std::vector<Order>& records);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_ORDER_TAGS_H_
