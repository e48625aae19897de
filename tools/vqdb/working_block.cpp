#include "working_block.h"

#include "stop.h"
#include "table.h"

namespace tool {
namespace {

constexpr std::uint32_t kLastSchemeWithLocks = 3;
constexpr std::uint32_t kSortWorkspace = 4096;  // of 16384 bytes
constexpr int32_t kPatience = 3000;             // milliseconds, for locks of others

}  // namespace

std::unique_ptr<VqBlock> working_block(const Header& header) {
  auto block = std::make_unique<VqBlock>();
  require(*block, DBinit(block.get(), dialect_of(header)), "DBinit");
  if (block->index_kind > kLastSchemeWithLocks) dUsetnet(block.get(), 0);
  block->page_count_setting = kSortWorkspace;
  dUsetwait(block.get(), kPatience);
  return block;
}

}  // namespace tool
