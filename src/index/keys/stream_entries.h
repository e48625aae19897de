// The entries of a key stream as the sort engine takes them.
#ifndef VQDBSYS_INDEX_KEYS_STREAM_ENTRIES_H_
#define VQDBSYS_INDEX_KEYS_STREAM_ENTRIES_H_

#include <array>
#include <cstddef>

#include "index/keys/stream_order.h"
#include "sort/entry_order.h"

namespace vqdb::index {

class StreamEntries final : public sort::EntryOrder {
 public:
  StreamEntries(const StreamOrder& order, std::size_t key_length);

  sort::Prefix prefix(const Byte* entry) const override;
  int compare(const Byte* a, const Byte* b) const override {
    return compare_entries(order_, key_length_, a, b);
  }

 private:
  sort::Prefix key_prefix(const Byte* key) const;

  const StreamOrder order_;
  const std::size_t key_length_;
  std::array<Byte, 256> ranks_ = {};  // collated texts: the place of each byte
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_KEYS_STREAM_ENTRIES_H_
