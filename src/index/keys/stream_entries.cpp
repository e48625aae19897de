#include "index/keys/stream_entries.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "convert/collation.h"
#include "index/keys/key_compare.h"

namespace vqdb::index {
namespace {

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;
constexpr std::size_t kPrefixBytes = 12;

// A double as a number that orders as it does. Both zeros are one.
std::uint64_t ordered_bits(const Byte* key) {
  const auto bits = std::bit_cast<std::uint64_t>(load_double(key) + 0.0);
  return (bits & kSignBit) != 0 ? ~bits : bits | kSignBit;
}

// Sign, exponent and digits of a packed decimal.
sort::Prefix packed_prefix(const Byte* key) {
  constexpr int kExponentShift = 48;
  if (key[0] == 0x34 && key[1] == 0x01) return {kSignBit, 0};
  const sort::Prefix digits = sort::prefix_of_bytes(key + 2, 10);
  const std::uint64_t high =
      std::uint64_t{key[0]} << kExponentShift | digits.high >> (64 - kExponentShift);
  const std::uint32_t low = static_cast<std::uint32_t>(digits.high) << 16 | digits.low >> 16;
  if (packed_is_negative(key)) return {~high & ~kSignBit, ~low};
  return {high | kSignBit, low};
}

}  // namespace

StreamEntries::StreamEntries(const StreamOrder& order, std::size_t key_length)
    : order_(order), key_length_(key_length) {
  if (order_.kind != KeyKind::collated_text) return;
  const auto& weights = convert::collation_weights();
  std::array<Byte, 256> bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<Byte>(i);
  std::sort(bytes.begin(), bytes.end(), [&](Byte a, Byte b) { return weights[a] < weights[b]; });
  for (std::size_t i = 0; i < bytes.size(); ++i) ranks_[bytes[i]] = static_cast<Byte>(i);
}

sort::Prefix StreamEntries::key_prefix(const Byte* key) const {
  switch (order_.kind) {
    case KeyKind::text:
      break;
    case KeyKind::collated_text: {
      std::array<Byte, kPrefixBytes> head = {};
      const std::size_t length = std::min(key_length_, head.size());
      for (std::size_t i = 0; i < length; ++i) head[i] = ranks_[key[i]];
      return sort::prefix_of_bytes(head.data(), length);
    }
    case KeyKind::number:
      return {ordered_bits(key), 0};
    case KeyKind::packed_number:
      return packed_prefix(key);
  }
  return sort::prefix_of_bytes(key, key_length_);
}

// Where the key fits the high part of the prefix, the record number makes it complete.
sort::Prefix StreamEntries::prefix(const Byte* entry) const {
  sort::Prefix prefix = key_prefix(entry + kEntryHead);
  const bool key_is_short =
      order_.kind != KeyKind::packed_number && key_length_ <= sizeof prefix.high;
  if (key_is_short && order_.by_record) prefix.low = load_le32(entry);
  return order_.descending ? sort::Prefix{~prefix.high, ~prefix.low} : prefix;
}

}  // namespace vqdb::index
