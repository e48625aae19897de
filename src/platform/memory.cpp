#include "platform/memory.h"

#include <cstring>
#include <limits>

#include "platform/fault.h"
#include "platform/system_memory.h"

namespace vqdb::platform {
namespace {

// The word before the caller's address keeps the system's handle; the rest of the room is what
// aligning takes.
constexpr std::size_t kRoom = sizeof(void*) + kBlockAlignment - 1;

}  // namespace

void* allocate(std::size_t size) {
  if (verdict(Call::allocate) != Verdict::go_on) return nullptr;
  if (size > std::numeric_limits<std::size_t>::max() / 2) return nullptr;
  const system::Block block = system::obtain(size + kRoom);
  if (block.address == nullptr) return nullptr;
  const auto place = reinterpret_cast<std::uintptr_t>(block.address);
  const std::size_t skip = kRoom - (place + kRoom) % kBlockAlignment;
  auto* const data = static_cast<char*>(block.address) + skip;
  std::memcpy(data - sizeof(void*), &block.handle, sizeof(void*));
  return data;
}

void release(void* block) {
  if (block == nullptr) return;
  void* handle = nullptr;
  std::memcpy(&handle, static_cast<char*>(block) - sizeof(void*), sizeof(void*));
  system::give_back(handle);
}

}  // namespace vqdb::platform
