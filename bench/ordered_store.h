// What an ordered store does here, LMDB or Berkeley DB. An entry is a key with its record number
// behind it, the number's high byte first, so that entries with equal keys are ordered by it.
#ifndef VQDBSYS_BENCH_ORDERED_STORE_H_
#define VQDBSYS_BENCH_ORDERED_STORE_H_

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "require.h"
#include "sum.h"

namespace vqdb::bench {

class StoreEntry {
 public:
  StoreEntry(std::string_view key, std::uint32_t number) : size_(key.size() + sizeof number) {
    require(size_ <= bytes_.size(), "a short key");
    key.copy(bytes_.data(), key.size());
    number = __builtin_bswap32(number);
    std::memcpy(bytes_.data() + key.size(), &number, sizeof number);
  }

  operator std::string_view() const { return {bytes_.data(), size_}; }

  static std::string_view key_of(std::string_view entry) {
    return entry.substr(0, entry.size() - sizeof(std::uint32_t));
  }
  static std::uint32_t number_of(std::string_view entry) {
    std::uint32_t number = 0;
    std::memcpy(&number, entry.data() + entry.size() - sizeof number, sizeof number);
    return __builtin_bswap32(number);
  }

 private:
  std::array<char, 64> bytes_;
  std::size_t size_;
};

// The entry to go to: the first one, the next one, the first that is not below a given one.
enum class Go { first, next, from };

// Engine derives from this and has put(entry, whether it goes behind all others), and get(go,
// entry), which is false without such an entry.
template <typename Engine>
class OrderedStore {
 public:
  void insert(std::string_view key, std::uint32_t number) {
    engine().put(StoreEntry(key, number), false);
  }
  // The same behind all other entries.
  void append(std::string_view key, std::uint32_t number) {
    engine().put(StoreEntry(key, number), true);
  }

  // The number of the first entry with the key; 0 without one.
  std::uint32_t find(std::string_view key) {
    const StoreEntry lowest(key, 0);
    std::string_view entry = lowest;
    if (!engine().get(Go::from, entry) || StoreEntry::key_of(entry) != key) return 0;
    return StoreEntry::number_of(entry);
  }

  void rewind() { go_ = Go::first; }
  // Steps to the next entry. The key is valid until the next step.
  bool next(std::string_view& key, std::uint32_t& number) {
    std::string_view entry;
    if (!engine().get(go_, entry)) return false;
    go_ = Go::next;
    key = StoreEntry::key_of(entry);
    number = StoreEntry::number_of(entry);
    return true;
  }

 private:
  Engine& engine() { return static_cast<Engine&>(*this); }

  Go go_ = Go::first;
};

// What a walk over a store comes to.
template <typename Engine>
Sum sum_of_walk(OrderedStore<Engine>&& store) {
  std::string_view key;
  std::uint32_t number = 0;
  WalkSum sum;
  while (store.next(key, number)) sum.step(key, number);
  return sum;
}

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_ORDERED_STORE_H_
