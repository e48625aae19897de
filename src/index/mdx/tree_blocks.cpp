#include "index/mdx/tree_blocks.h"

#include "index/tree/tree.h"

namespace vqdb::index {

bool TreeBlocks::collect() {
  std::size_t from = 0;
  for (std::uint32_t level = 0; level < kMaxDepth; ++level) {
    const std::size_t end = blocks_.size();
    bool leaves = false;
    for (; from < end; ++from) {
      if (!add_children(blocks_[from], leaves)) return false;
      if (leaves) return true;
    }
  }
  return false;
}

// New pages may lie behind those that the header counts.
bool TreeBlocks::add_children(PageNumber number, bool& is_leaf) {
  PageCache::Frame frame = 0;
  if (!ok(store_.cache.fetch(number, frame))) return false;
  const Page page(layout_, store_.cache.image(frame));
  if (!page.is_sound() || blocks_.size() > store_.cache.limit()) return false;
  is_leaf = page.count() == 0 || page.is_leaf();
  for (std::uint32_t slot = 0; !is_leaf && slot <= page.count(); ++slot) {
    blocks_.push_back(page.child(slot));
  }
  return true;
}

}  // namespace vqdb::index
