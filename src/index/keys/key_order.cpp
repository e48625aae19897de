#include "index/keys/key_order.h"

#include <cmath>

#include "index/keys/key_compare.h"

namespace vqdb::index {
namespace {

template <KeyOrder::Compare compare>
int reversed(const Byte* a, const Byte* b, std::size_t length) {
  return compare(b, a, length);
}

// The first key for which compare(key in the row, key) is not below the limit: 0 finds the first
// equal or higher one, 1 the first higher one.
template <KeyOrder::Compare compare, int kLimit>
std::uint32_t bound(const KeyRow& row, const Byte* key, std::size_t length) {
  std::uint32_t low = 0;
  std::uint32_t high = row.count;
  while (low < high) {
    const std::uint32_t middle = (low + high) / 2;
    if (compare(row.first + middle * row.stride, key, length) < kLimit) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

bool any_key(const Byte*) { return true; }
bool is_a_number(const Byte* key) { return !std::isnan(load_double(key)); }

template <KeyOrder::Compare compare>
constexpr KeyOrder order_of(bool (*has_place)(const Byte* key) = any_key) {
  return {compare, bound<compare, 0>, bound<compare, 1>, has_place};
}

constexpr KeyOrder kOrders[4][2] = {
    {order_of<compare_texts>(), order_of<reversed<compare_texts>>()},
    {order_of<compare_collated>(), order_of<reversed<compare_collated>>()},
    {order_of<compare_numbers>(is_a_number), order_of<reversed<compare_numbers>>(is_a_number)},
    {order_of<compare_packed>(), order_of<reversed<compare_packed>>()},
};

}  // namespace

const KeyOrder& key_order(KeyKind kind, bool descending) {
  return kOrders[static_cast<std::size_t>(kind)][descending ? 1 : 0];
}

}  // namespace vqdb::index
