#include "index/keys/key_compare.h"

#include "convert/collation.h"

namespace vqdb::index {
namespace {

constexpr std::size_t kPackedDigits = 2;  // where the digits of a packed decimal begin

int compare_magnitudes(const Byte* a, const Byte* b, std::size_t length) {
  if (a[0] != b[0]) return a[0] < b[0] ? -1 : 1;
  return std::memcmp(a + kPackedDigits, b + kPackedDigits, length - kPackedDigits);
}

}  // namespace

int compare_collated(const Byte* a, const Byte* b, std::size_t length) {
  const auto& weights = convert::collation_weights();
  for (std::size_t i = 0; i < length; ++i) {
    const int difference = weights[a[i]] - weights[b[i]];
    if (difference != 0) return difference;
  }
  return 0;
}

int compare_packed(const Byte* a, const Byte* b, std::size_t length) {
  const bool negative = packed_is_negative(a);
  if (negative != packed_is_negative(b)) return negative ? -1 : 1;
  if (negative) return compare_magnitudes(b, a, length);
  const bool a_zero = packed_is_zero(a);
  const bool b_zero = packed_is_zero(b);
  if (a_zero || b_zero) return static_cast<int>(b_zero) - static_cast<int>(a_zero);
  return compare_magnitudes(a, b, length);
}

}  // namespace vqdb::index
