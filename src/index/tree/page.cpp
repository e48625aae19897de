#include "index/tree/page.h"

namespace vqdb::index {

Byte* Page::open_gap(std::uint32_t slot, const Byte* key) {
  Byte* gap = entry(slot);
  const std::uint32_t behind = count() - slot;
  std::memmove(gap + layout_->stride, gap, behind * layout_->stride + sizeof(PageNumber));
  std::memset(gap, 0, layout_->stride);
  std::memcpy(gap + layout_->key_at, key, layout_->key_length);
  set_count(count() + 1);
  return gap;
}

void Page::remove_entry(std::uint32_t slot) {
  Byte* gap = entry(slot);
  const std::uint32_t behind = count() - slot - 1;
  std::memmove(gap, gap + layout_->stride, behind * layout_->stride + sizeof(PageNumber));
  set_count(count() - 1);
}

void Page::take_upper_part(Page from, std::uint32_t keep) {
  const std::uint32_t moved = from.count() - keep;
  std::memcpy(entry(0), from.entry(keep), moved * layout_->stride + sizeof(PageNumber));
  set_count(moved);
  from.set_count(keep);
  from.set_child(keep, 0);
}

}  // namespace vqdb::index
