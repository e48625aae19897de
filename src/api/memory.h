// Memory that a database keeps while it is open: texts and member lists from the platform's
// allocator, so that running out of it has its own detail code at the point where it happens.
#ifndef VQDBSYS_API_MEMORY_H_
#define VQDBSYS_API_MEMORY_H_

#include <cstddef>
#include <new>
#include <string>

#include "platform/memory.h"

namespace vqdb::api {

template <typename T>
struct PlatformAllocator {
  using value_type = T;

  PlatformAllocator() = default;
  template <typename U>
  explicit PlatformAllocator(const PlatformAllocator<U>&) noexcept {}

  T* allocate(std::size_t count) {
    if (void* block = platform::allocate(count * sizeof(T))) return static_cast<T*>(block);
    throw std::bad_alloc();
  }
  void deallocate(T* block, std::size_t) noexcept { platform::release(block); }

  friend bool operator==(const PlatformAllocator&, const PlatformAllocator&) { return true; }
};

using Text = std::basic_string<char, std::char_traits<char>, PlatformAllocator<char>>;

// Whether the body ran without running out of memory.
template <typename Body>
[[nodiscard]] bool has_memory(Body body) {
  try {
    body();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace vqdb::api

#endif  // VQDBSYS_API_MEMORY_H_
