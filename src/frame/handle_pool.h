// Pools of handles. A handle lives in a slab that is never unmapped, so that a null, foreign or
// closed handle is told from a live one without touching memory that is not the library's. Closed
// slots keep the block they were opened with, for the detail code of a late caller, and are reused
// last. Opening and closing take a lock; looking a handle up takes none.
#ifndef VQDBSYS_FRAME_HANDLE_POOL_H_
#define VQDBSYS_FRAME_HANDLE_POOL_H_

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "frame/spin_lock.h"
#include "platform/memory.h"
#include "vqdbsys.h"

namespace vqdb {

inline constexpr std::uint32_t kHandleSignature = 9786;

// What every handle begins with.
struct HandleHead {
  std::int32_t file_number = 0;
  std::uint32_t signature = 0;
  VqBlock* block = nullptr;
};

// T derives from HandleHead first. T's constructor takes what open() is given.
template <typename T>
class HandlePool {
 public:
  // A new handle, not yet live (its signature is 0 until the caller sets it); null without memory.
  template <typename... Args>
  T* open(VqBlock* block, Args&&... args) {
    const SpinGuard guard(lock_);
    Slot* slot = take();
    if (slot == nullptr) return nullptr;
    T* handle = ::new (static_cast<void*>(slot->bytes)) T(std::forward<Args>(args)...);
    handle->block = block;
    return handle;
  }

  // Destroys the handle and clears its slot, all but the block.
  void close(T* handle) {
    const SpinGuard guard(lock_);
    VqBlock* block = handle->block;
    handle->signature = 0;
    handle->~T();
    auto* slot = reinterpret_cast<Slot*>(handle);
    auto* head = ::new (static_cast<void*>(slot->bytes)) HandleHead();
    head->block = block;
    slot->next = nullptr;
    (last_closed_ != nullptr ? last_closed_->next : first_closed_) = slot;
    last_closed_ = slot;
  }

  // The live handle at this address, else null.
  T* find(const void* address) const {
    HandleHead* head = slot_at(address);
    return head != nullptr && head->signature == kHandleSignature ? static_cast<T*>(head)
                                                                  : nullptr;
  }

  // The block that the handle at this address, live or closed, was opened with, else null.
  VqBlock* block_of(const void* address) const {
    const HandleHead* head = slot_at(address);
    return head != nullptr ? head->block : nullptr;
  }

 private:
  struct Slot {
    alignas(T) std::byte bytes[sizeof(T)];
    Slot* next;
  };

  static constexpr std::size_t kMaxSlabs = 24;
  static constexpr std::size_t kFirstSlab = 64;

  static std::size_t slots_in(std::size_t slab) { return kFirstSlab << slab; }

  HandleHead* slot_at(const void* address) const {
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    const std::size_t count = slab_count_.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < count; ++i) {
      const auto start = reinterpret_cast<std::uintptr_t>(slabs_[i]);
      if (place < start || place >= start + slots_in(i) * sizeof(Slot)) continue;
      if ((place - start) % sizeof(Slot) != 0) return nullptr;
      return reinterpret_cast<HandleHead*>(const_cast<void*>(address));
    }
    return nullptr;
  }

  Slot* take() {
    if (slab_count_ == 0 || fresh_ == slots_in(slab_count_ - 1)) {
      if (first_closed_ != nullptr) {
        Slot* slot = first_closed_;
        first_closed_ = slot->next;
        if (first_closed_ == nullptr) last_closed_ = nullptr;
        return slot;
      }
      if (!grow()) return nullptr;
    }
    return &slabs_[slab_count_ - 1][fresh_++];
  }

  bool grow() {
    const std::size_t count = slab_count_;
    if (count == kMaxSlabs) return false;
    auto* slab = static_cast<Slot*>(platform::allocate(slots_in(count) * sizeof(Slot)));
    if (slab == nullptr) return false;
    slabs_[count] = slab;
    fresh_ = 0;
    slab_count_.store(count + 1, std::memory_order_release);
    return true;
  }

  SpinLock lock_;
  std::array<Slot*, kMaxSlabs> slabs_ = {};
  std::atomic<std::size_t> slab_count_ = 0;
  std::size_t fresh_ = 0;
  Slot* first_closed_ = nullptr;
  Slot* last_closed_ = nullptr;
};

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_HANDLE_POOL_H_
