// Memory that the library keeps for long: handles, cache blocks, page buffers, programs. It comes
// from the system's global-memory service where there is one, and its exhaustion is an answer, not
// an exception.
#ifndef VQDBSYS_PLATFORM_MEMORY_H_
#define VQDBSYS_PLATFORM_MEMORY_H_

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>

namespace vqdb::platform {

inline constexpr std::size_t kBlockAlignment = 64;

// A zeroed block, aligned to kBlockAlignment; null when there is no memory.
void* allocate(std::size_t size);
void release(void* block);

struct Release {
  void operator()(void* block) const { release(block); }
};

// A block of bytes that is released when it goes out of scope.
using Bytes = std::unique_ptr<std::uint8_t[], Release>;

inline Bytes allocate_bytes(std::size_t size) {
  return Bytes(static_cast<std::uint8_t*>(allocate(size)));
}

// So many pieces of a size; null, too, when no address reaches the last one.
inline Bytes allocate_bytes(std::size_t count, std::size_t each) {
  if (each != 0 && count > std::numeric_limits<std::size_t>::max() / each) return nullptr;
  return allocate_bytes(count * each);
}

// A zeroed array of plain values; null when there is no memory.
template <typename T>
using Array = std::unique_ptr<T[], Release>;

template <typename T>
Array<T> allocate_array(std::size_t count) {
  static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= kBlockAlignment);
  if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) return nullptr;
  return Array<T>(static_cast<T*>(allocate(count * sizeof(T))));
}

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_MEMORY_H_
