// What a table handle has locked: the append position, and a stack of records and the file.
#ifndef VQDBSYS_TABLE_LOCK_STATE_H_
#define VQDBSYS_TABLE_LOCK_STATE_H_

#include <algorithm>
#include <cstdint>
#include <span>

#include "platform/memory.h"

namespace vqdb::table {

class LockState {
 public:
  // Stands for the file in the stack of locks.
  static constexpr std::uint32_t kFile = 0;

  bool append = false;

  bool holds_file() const { return holds(kFile); }
  bool holds(std::uint32_t lock) const {
    const auto all = locks();
    return std::find(all.begin(), all.end(), lock) != all.end();
  }
  // In the order in which they were taken.
  std::span<const std::uint32_t> locks() const { return {stack(), count_}; }

  // Makes room for one more lock; false without memory.
  bool reserve() {
    if (count_ < capacity_) return true;
    const std::size_t capacity = capacity_ == 0 ? 16 : capacity_ * 2;
    platform::Bytes grown = platform::allocate_bytes(capacity * sizeof(std::uint32_t));
    if (grown == nullptr) return false;
    std::copy_n(stack(), count_, reinterpret_cast<std::uint32_t*>(grown.get()));
    memory_ = std::move(grown);
    capacity_ = capacity;
    return true;
  }
  // REQUIRES reserve().
  void push(std::uint32_t lock) { stack()[count_++] = lock; }
  void remove(std::uint32_t lock) {
    std::uint32_t* const end = stack() + count_;
    std::uint32_t* const place = std::find(stack(), end, lock);
    if (place == end) return;
    std::copy(place + 1, end, place);
    --count_;
  }

 private:
  std::uint32_t* stack() const { return reinterpret_cast<std::uint32_t*>(memory_.get()); }

  platform::Bytes memory_;
  std::size_t count_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_LOCK_STATE_H_
