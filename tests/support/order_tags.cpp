#include "support/order_tags.h"

namespace vqdb::testing {

std::uint32_t OrderTag::options() const {
  return std::string_view(format).ends_with("D") && format[1] != '\0' ? VQ_BUILD_DESCENDING : 0;
}

std::string name_key(const Order& order) { return record_of(order).substr(1, 12); }

std::string due_key(const Order& order) {
  VqBlock block = {};
  std::string key(8, '\0');
  lib.dUdftodk(&block, 1, record_of(order).substr(22, 8).c_str(), key.data());
  return key;
}

std::string amount_key(const Order& order) {
  VqBlock block = {};
  std::string key(12, '\0');
  EXPECT_EQ(0, lib.dUnftonk(&block, 0, record_of(order).substr(13, 9).c_str(), 9, key.data()));
  return key;
}

void expect_tag(const OrderTag& tag, const MdxReport& report, const std::vector<Order>& records) {
  SCOPED_TRACE(tag.name);
  std::vector<IndexEntry> expected;
  for (std::size_t n = 0; n < records.size(); ++n) {
    if (!tag.holds(records[n])) continue;
    expected.emplace_back(tag.key_of(records[n]), static_cast<std::uint32_t>(n + 1));
  }
  std::ranges::sort(expected);
  EXPECT_EQ(expected, report.tag(tag.name).sorted());
}

}  // namespace vqdb::testing
