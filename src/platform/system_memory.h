// The system's memory service behind allocate(), as each system's folder supplies it.
#ifndef VQDBSYS_PLATFORM_SYSTEM_MEMORY_H_
#define VQDBSYS_PLATFORM_SYSTEM_MEMORY_H_

#include <cstddef>

namespace vqdb::platform::system {

// A zeroed block; its handle is what gives it back. The address is null when there is no memory.
struct Block {
  void* handle;
  void* address;
};

Block obtain(std::size_t size);
void give_back(void* handle);

}  // namespace vqdb::platform::system

#endif  // VQDBSYS_PLATFORM_SYSTEM_MEMORY_H_
