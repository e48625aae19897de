#include <cstdlib>

#include "platform/system_memory.h"

namespace vqdb::platform::system {

Block obtain(std::size_t size) {
  void* const address = std::calloc(size, 1);
  return {address, address};
}

void give_back(void* handle) { std::free(handle); }

}  // namespace vqdb::platform::system
