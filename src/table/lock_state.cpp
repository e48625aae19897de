#include "table/lock_state.h"

#include <algorithm>
#include <utility>

namespace vqdb::table {

const std::uint32_t* LockState::link_to(std::uint32_t lock) const {
  if (capacity_ == 0) return &kNone;
  const std::uint32_t* link = &buckets_[lock & (capacity_ - 1)];
  while (*link != kNone && locks_[*link].lock != lock) link = &locks_[*link].chained;
  return link;
}

bool LockState::reserve() {
  if (count_ < capacity_) return true;
  LockState grown;
  grown.capacity_ = capacity_ == 0 ? 16 : capacity_ * 2;
  grown.locks_ = platform::allocate_array<Lock>(grown.capacity_);
  grown.buckets_ = platform::allocate_array<std::uint32_t>(grown.capacity_);
  if (grown.locks_ == nullptr || grown.buckets_ == nullptr) return false;
  std::fill_n(grown.buckets_.get(), grown.capacity_, kNone);
  for (std::uint32_t i = grown.capacity_; i-- > 0; grown.free_ = i) {
    grown.locks_[i].chained = grown.free_;
  }
  visit([&](std::uint32_t lock) { grown.push(lock); });
  grown.append = append;
  *this = std::move(grown);
  return true;
}

void LockState::push(std::uint32_t lock) {
  const std::uint32_t place = free_;
  Lock& pushed = locks_[place];
  free_ = pushed.chained;
  std::uint32_t& bucket = buckets_[lock & (capacity_ - 1)];
  pushed = {lock, bucket, newest_, kNone};
  bucket = place;
  (newest_ != kNone ? locks_[newest_].newer : oldest_) = place;
  newest_ = place;
  ++count_;
}

void LockState::remove(std::uint32_t lock) {
  auto* const link = const_cast<std::uint32_t*>(link_to(lock));
  const std::uint32_t place = *link;
  Lock& removed = locks_[place];
  *link = removed.chained;
  (removed.older != kNone ? locks_[removed.older].newer : oldest_) = removed.newer;
  (removed.newer != kNone ? locks_[removed.newer].older : newest_) = removed.older;
  removed.chained = free_;
  free_ = place;
  --count_;
}

}  // namespace vqdb::table
