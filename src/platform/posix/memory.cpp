#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "platform/system_memory.h"

namespace vqdb::platform::system {
namespace {

// From here on a block is worth pages larger than the usual ones.
constexpr std::size_t kLargeBlock = std::size_t{4} << 20;

// Caches are read at random: large pages spare most of the address translation. A refusal costs
// speed only.
void prefer_large_pages(void* address, std::size_t size) {
  static const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const auto start = (reinterpret_cast<std::uintptr_t>(address) + page - 1) / page * page;
  const auto end = (reinterpret_cast<std::uintptr_t>(address) + size) / page * page;
  static_cast<void>(::madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE));
}

}  // namespace

Block obtain(std::size_t size) {
  void* const address = std::calloc(size, 1);
  if (address != nullptr && size >= kLargeBlock) prefer_large_pages(address, size);
  return {address, address};
}

void give_back(void* handle) { std::free(handle); }

}  // namespace vqdb::platform::system
