// The order in which entries are sorted. An entry is a fixed number of bytes; its prefix is a
// number that settles most comparisons without looking at the entry.
#ifndef VQDBSYS_SORT_ENTRY_ORDER_H_
#define VQDBSYS_SORT_ENTRY_ORDER_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/bytes.h"

namespace vqdb::sort {

struct Prefix {
  std::uint64_t high = 0;
  std::uint32_t low = 0;
};

class EntryOrder {
 public:
  // Where prefixes differ, they stand in the order of their entries.
  virtual Prefix prefix(const Byte* entry) const = 0;
  // Negative, 0 or positive. Equal entries keep the order in which they came.
  virtual int compare(const Byte* a, const Byte* b) const = 0;

 protected:
  ~EntryOrder() = default;
};

// The first 12 of `size` bytes as a prefix that orders as the bytes do.
inline Prefix prefix_of_bytes(const Byte* bytes, std::size_t size) {
  constexpr std::size_t kHigh = sizeof(Prefix::high);
  constexpr std::size_t kLow = sizeof(Prefix::low);
  Byte head[kHigh + kLow] = {};
  std::memcpy(head, bytes, size < sizeof head ? size : sizeof head);
  Prefix prefix;
  std::memcpy(&prefix.high, head, kHigh);
  std::memcpy(&prefix.low, head + kHigh, kLow);
  return {__builtin_bswap64(prefix.high), __builtin_bswap32(prefix.low)};
}

// Entries that begin with bytes which are their key.
class LeadingBytesOrder final : public EntryOrder {
 public:
  explicit LeadingBytesOrder(std::size_t key_bytes) : key_bytes_(key_bytes) {}

  Prefix prefix(const Byte* entry) const override { return prefix_of_bytes(entry, key_bytes_); }
  int compare(const Byte* a, const Byte* b) const override { return std::memcmp(a, b, key_bytes_); }

 private:
  std::size_t key_bytes_;
};

}  // namespace vqdb::sort

#endif  // VQDBSYS_SORT_ENTRY_ORDER_H_
