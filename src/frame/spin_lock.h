// A lock for a few instructions, without help from the system.
#ifndef VQDBSYS_FRAME_SPIN_LOCK_H_
#define VQDBSYS_FRAME_SPIN_LOCK_H_

#include <atomic>

namespace vqdb {

class SpinLock {
 public:
  void lock() {
    while (held_.test_and_set(std::memory_order_acquire)) {
    }
  }
  void unlock() { held_.clear(std::memory_order_release); }

 private:
  std::atomic_flag held_;
};

class SpinGuard {
 public:
  explicit SpinGuard(SpinLock& lock) : lock_(lock) { lock_.lock(); }
  ~SpinGuard() { lock_.unlock(); }
  SpinGuard(const SpinGuard&) = delete;
  SpinGuard& operator=(const SpinGuard&) = delete;

 private:
  SpinLock& lock_;
};

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_SPIN_LOCK_H_
