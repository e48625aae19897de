#include "index/keys/key_order.h"

#include <cmath>

#include "index/keys/key_compare.h"

namespace vqdb::index {
namespace {

template <KeyOrder::Compare compare>
int reversed(const Byte* a, const Byte* b, std::size_t length) {
  return compare(b, a, length);
}

// The first key from `low` on for which compare(key in the row, key) is not below the limit: 0
// finds the first equal or higher one, 1 the first higher one.
template <KeyOrder::Compare compare, int kLimit>
std::uint32_t bound_from(std::uint32_t low, const KeyRow& row, const Byte* key,
                         std::size_t length) {
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

template <KeyOrder::Compare compare, int kLimit>
std::uint32_t bound(const KeyRow& row, const Byte* key, std::size_t length) {
  return bound_from<compare, kLimit>(0, row, key, length);
}

// How many keys are below something, which the first ones of the row are. Its steps do not branch:
// no processor foresees which half the next one is in, and several searches go on at once.
template <typename IsBelow>
std::uint32_t count_below(const KeyRow& row, IsBelow is_below) {
  const Byte* at = row.first;
  std::uint32_t left = row.count;
  while (left > 1) {
    const std::uint32_t half = left / 2;
    const Byte* const upper = at + half * row.stride;
    at = is_below(upper - row.stride) ? upper : at;
    left -= half;
  }
  const auto low =
      static_cast<std::uint32_t>(at - row.first) / static_cast<std::uint32_t>(row.stride);
  return low + (left == 1 && is_below(at) ? 1 : 0);
}

// Most texts differ in their first word.
template <int kLimit>
std::uint32_t bound_text(const KeyRow& row, const Byte* key, std::size_t length) {
  if (length < sizeof(std::uint64_t)) return bound<compare_texts, kLimit>(row, key, length);
  const std::uint64_t head = load_be64(key);
  const std::uint32_t low = count_below(row, [=](const Byte* at) { return load_be64(at) < head; });
  if (low == row.count || load_be64(row.first + low * row.stride) != head) return low;
  return bound_from<compare_texts, kLimit>(low, row, key, length);
}

template <int kLimit>
std::uint32_t bound_number(const KeyRow& row, const Byte* key, std::size_t) {
  const double sought = load_double(key);
  return count_below(row, [=](const Byte* at) {
    return kLimit == 0 ? load_double(at) < sought : !(load_double(at) > sought);
  });
}

bool any_key(const Byte*) { return true; }
bool is_a_number(const Byte* key) { return !std::isnan(load_double(key)); }

template <KeyOrder::Compare compare>
constexpr KeyOrder order_of(bool (*has_place)(const Byte* key) = any_key) {
  return {compare, bound<compare, 0>, bound<compare, 1>, has_place};
}

constexpr KeyOrder kOrders[4][2] = {
    {{compare_texts, bound_text<0>, bound_text<1>, any_key}, order_of<reversed<compare_texts>>()},
    {order_of<compare_collated>(), order_of<reversed<compare_collated>>()},
    {{compare_numbers, bound_number<0>, bound_number<1>, is_a_number},
     order_of<reversed<compare_numbers>>(is_a_number)},
    {order_of<compare_packed>(), order_of<reversed<compare_packed>>()},
};

}  // namespace

const KeyOrder& key_order(KeyKind kind, bool descending) {
  return kOrders[static_cast<std::size_t>(kind)][descending ? 1 : 0];
}

}  // namespace vqdb::index
