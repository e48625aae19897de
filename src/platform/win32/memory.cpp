#include <windows.h>

#include "platform/system_memory.h"

namespace vqdb::platform::system {

Block obtain(std::size_t size) {
  // Movable blocks come in multiples of 256 bytes and a word.
  const std::size_t rounded = ((size + 260) & ~std::size_t{0xFF}) + 4;
  const HGLOBAL handle = ::GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, rounded);
  if (handle == nullptr) return {};
  void* const address = ::GlobalLock(handle);
  if (address == nullptr) {
    ::GlobalFree(handle);
    return {};
  }
  return {handle, address};
}

void give_back(void* handle) {
  ::GlobalUnlock(handle);
  ::GlobalFree(handle);
}

}  // namespace vqdb::platform::system
