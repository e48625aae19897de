// An entry of the ordered stores: a key with its record number behind it, the number's high byte
// first, so that entries with equal keys are ordered by it.
#ifndef VQDBSYS_BENCH_STORE_ENTRY_H_
#define VQDBSYS_BENCH_STORE_ENTRY_H_

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "require.h"

namespace vqdb::bench {

class StoreEntry {
 public:
  StoreEntry(std::string_view key, std::uint32_t number) : size_(key.size() + sizeof number) {
    require(size_ <= bytes_.size(), "a short key");
    key.copy(bytes_.data(), key.size());
    number = __builtin_bswap32(number);
    std::memcpy(bytes_.data() + key.size(), &number, sizeof number);
  }

  char* data() { return bytes_.data(); }
  std::size_t size() const { return size_; }

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

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_STORE_ENTRY_H_
