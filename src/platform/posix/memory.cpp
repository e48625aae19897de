#include "platform/memory.h"

#include <cstdlib>
#include <cstring>

#include "platform/fault.h"

namespace vqdb::platform {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kLargestRequest = std::size_t{1} << 46;

}  // namespace

void* allocate(std::size_t size) {
  if (verdict(Call::allocate) != Verdict::go_on || size > kLargestRequest) return nullptr;
  const std::size_t rounded = (size + kAlignment) / kAlignment * kAlignment;
  void* block = std::aligned_alloc(kAlignment, rounded);
  if (block != nullptr) std::memset(block, 0, rounded);
  return block;
}

void release(void* block) { std::free(block); }

}  // namespace vqdb::platform
