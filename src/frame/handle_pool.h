// Pools of handles. A handle lives in a slab that is never unmapped, so that a null, foreign or
// closed handle is told from a live one without touching memory that is not the library's. Closed
// slots keep the block they were opened with, for the detail code of a late caller, and rest: an
// address comes back only after kRestingSlots further handles of its kind have been closed, so that
// a late call rarely meets somebody else's handle. Opening and closing take a lock; looking a
// handle up takes none.
#ifndef VQDBSYS_FRAME_HANDLE_POOL_H_
#define VQDBSYS_FRAME_HANDLE_POOL_H_

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "frame/spin_lock.h"
#include "platform/memory.h"
#include "vqdbsys.h"

namespace vqdb {

inline constexpr std::uint32_t kHandleSignature = 9786;
// How many closed handles of a kind rest before the oldest address is used again.
inline constexpr std::size_t kRestingSlots = 4096;

// What every handle begins with.
struct HandleHead {
  std::int32_t file_number = 0;
  std::uint32_t signature = 0;
  VqBlock* block = nullptr;
};

// The slots of a pool, whatever they hold. Slots are a power of two apart, so that an address is
// judged without a division.
class HandleSlots {
 public:
  // The block that the handle at this address, live or closed, was opened with, else null.
  VqBlock* block_of(const void* address) const {
    const HandleHead* const head = head_at(address);
    return head != nullptr ? head->block : nullptr;
  }

 protected:
  // Precedes the handle in its slot.
  struct alignas(8) SlotHead {
    SlotHead* next;  // in the queue of closed slots
    bool open;
  };

  constexpr explicit HandleSlots(std::size_t handle_bytes)
      : slot_bytes_(std::bit_ceil(sizeof(SlotHead) + handle_bytes)) {}

  static SlotHead* slot_of(const HandleHead* head) {
    const auto place = reinterpret_cast<std::uintptr_t>(head);
    return reinterpret_cast<SlotHead*>(place - sizeof(SlotHead));
  }

  HandleHead* head_at(const void* address) const {
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    const std::size_t count = slab_count_.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < count; ++i) {
      const std::uintptr_t offset =
          place - reinterpret_cast<std::uintptr_t>(slabs_[i]) - sizeof(SlotHead);
      if (offset >= slots_in(i) * slot_bytes_) continue;
      if ((offset & (slot_bytes_ - 1)) != 0) return nullptr;
      return reinterpret_cast<HandleHead*>(place);
    }
    return nullptr;
  }

  // Memory for a handle, marked open; null without memory.
  void* take() {
    const SpinGuard guard(lock_);
    SlotHead* slot = nullptr;
    if (closed_count_ >= kRestingSlots || !has_fresh()) slot = oldest_closed();
    if (slot == nullptr) {
      if (!has_fresh()) return nullptr;
      slot = reinterpret_cast<SlotHead*>(slabs_[slab_count_ - 1] + fresh_++ * slot_bytes_);
    }
    slot->open = true;
    return slot + 1;
  }

  void give_back(SlotHead* slot) {
    const SpinGuard guard(lock_);
    slot->next = nullptr;
    (last_closed_ != nullptr ? last_closed_->next : first_closed_) = slot;
    last_closed_ = slot;
    ++closed_count_;
  }

 private:
  static constexpr std::size_t kMaxSlabs = 24;
  static constexpr std::size_t kFirstSlab = 64;

  static std::size_t slots_in(std::size_t slab) { return kFirstSlab << slab; }

  // Whether a slot is left that was never used, if need be in a new slab.
  bool has_fresh() { return (slab_count_ != 0 && fresh_ < slots_in(slab_count_ - 1)) || grow(); }

  SlotHead* oldest_closed() {
    SlotHead* const slot = first_closed_;
    if (slot == nullptr) return nullptr;
    first_closed_ = slot->next;
    if (first_closed_ == nullptr) last_closed_ = nullptr;
    --closed_count_;
    return slot;
  }

  bool grow() {
    const std::size_t count = slab_count_;
    if (count == kMaxSlabs) return false;
    auto* const slab = static_cast<std::byte*>(platform::allocate(slots_in(count) * slot_bytes_));
    if (slab == nullptr) return false;
    slabs_[count] = slab;
    fresh_ = 0;
    slab_count_.store(count + 1, std::memory_order_release);
    return true;
  }

  SpinLock lock_;
  std::size_t slot_bytes_;
  std::array<std::byte*, kMaxSlabs> slabs_ = {};
  std::atomic<std::size_t> slab_count_ = 0;
  std::size_t fresh_ = 0;
  SlotHead* first_closed_ = nullptr;
  SlotHead* last_closed_ = nullptr;
  std::size_t closed_count_ = 0;
};

// T derives from HandleHead first. T's constructor takes what open() is given; it must not throw.
// Looking a handle up does without T's definition.
template <typename T>
class HandlePool : public HandleSlots {
 public:
  constexpr HandlePool() : HandleSlots(sizeof(T)) {}

  // A new handle, not yet live (its signature is 0 until the caller sets it); null without memory.
  template <typename... Args>
  T* open(VqBlock* block, Args&&... args) {
    static_assert(alignof(T) <= alignof(SlotHead));
    void* const place = take();
    if (place == nullptr) return nullptr;
    T* const handle = ::new (place) T(std::forward<Args>(args)...);
    handle->block = block;
    return handle;
  }

  // Destroys the handle and clears its slot, all but the block.
  void close(T* handle) {
    SlotHead* const slot = slot_of(handle);
    VqBlock* const block = handle->block;
    slot->open = false;
    handle->signature = 0;
    handle->~T();
    auto* const head = ::new (static_cast<void*>(slot + 1)) HandleHead();
    head->block = block;
    give_back(slot);
  }

  // The live handle at this address, else null.
  T* find(const void* address) const {
    HandleHead* const head = head_at(address);
    return head != nullptr && head->signature == kHandleSignature ? reinterpret_cast<T*>(head)
                                                                  : nullptr;
  }

  // The open handle at this address whatever its signature says, else null.
  T* find_unsigned(const void* address) const {
    HandleHead* const head = head_at(address);
    return head != nullptr && slot_of(head)->open ? reinterpret_cast<T*>(head) : nullptr;
  }
};

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_HANDLE_POOL_H_
