// What a table handle has locked: the append position, and a stack of records and the file, of
// which any lock can be found and released at once however many there are.
#ifndef VQDBSYS_TABLE_LOCK_STATE_H_
#define VQDBSYS_TABLE_LOCK_STATE_H_

#include <cstdint>

#include "platform/memory.h"

namespace vqdb::table {

class LockState {
 public:
  // Stands for the file in the stack of locks.
  static constexpr std::uint32_t kFile = 0;

  bool append = false;

  bool holds(std::uint32_t lock) const { return *link_to(lock) != kNone; }
  bool holds_file() const { return holds(kFile); }
  std::uint32_t count() const { return count_; }
  // The lock taken last. REQUIRES count() > 0.
  std::uint32_t newest() const { return locks_[newest_].lock; }
  // Calls visit(lock) for each, the oldest first.
  template <typename Visit>
  void visit(Visit visit) const {
    for (std::uint32_t i = oldest_; i != kNone; i = locks_[i].newer) visit(locks_[i].lock);
  }

  // Makes room for one more lock; false without memory.
  bool reserve();
  // REQUIRES reserve() and that the lock is not held.
  void push(std::uint32_t lock);
  // REQUIRES that the lock is held.
  void remove(std::uint32_t lock);

 private:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  struct Lock {
    std::uint32_t lock;
    std::uint32_t chained;  // next of the same hash, or next free one
    std::uint32_t older;
    std::uint32_t newer;
  };

  // The link that names the lock's place, or where it would be put.
  const std::uint32_t* link_to(std::uint32_t lock) const;

  platform::Array<Lock> locks_;
  platform::Array<std::uint32_t> buckets_;  // as many as locks
  std::uint32_t capacity_ = 0;              // a power of two
  std::uint32_t count_ = 0;
  std::uint32_t free_ = kNone;
  std::uint32_t oldest_ = kNone;
  std::uint32_t newest_ = kNone;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_LOCK_STATE_H_
