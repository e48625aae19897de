// Memory that the library keeps for long: handles, cache blocks, page buffers, programs. It comes
// from the system's global-memory service where there is one, and its exhaustion is an answer, not
// an exception.
#ifndef VQDBSYS_PLATFORM_MEMORY_H_
#define VQDBSYS_PLATFORM_MEMORY_H_

#include <cstddef>
#include <cstdint>
#include <memory>

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

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_MEMORY_H_
