#include "index/mdx/tree_blocks.h"

#include "index/tree/tree.h"

namespace vqdb::index {
namespace {

constexpr Operation kFreeList{1033};

}  // namespace

Result TreeBlocks::collect() {
  std::size_t from = 0;
  for (std::uint32_t level = 0; level < kMaxDepth; ++level) {
    const std::size_t end = blocks_.size();
    bool leaves = false;
    for (; from < end; ++from) {
      const Result result = add_children(blocks_[from], leaves);
      if (!ok(result) || leaves) return result;
    }
  }
  return fail(store_.block, Result::bad_format, kFreeList.detail(6));
}

// New pages may lie behind those that the header counts.
Result TreeBlocks::add_children(PageNumber number, bool& is_leaf) {
  PageCache::Frame frame = 0;
  if (const Result result = store_.cache.fetch(number, frame); !ok(result)) return result;
  const Page page(layout_, store_.cache.image(frame));
  if (!page.is_sound() || blocks_.size() > store_.cache.limit()) {
    return fail(store_.block, Result::bad_format, kFreeList.detail(6));
  }
  is_leaf = page.count() == 0 || page.is_leaf();
  for (std::uint32_t slot = 0; !is_leaf && slot <= page.count(); ++slot) {
    blocks_.push_back(page.child(slot));
  }
  return Result::ok;
}

}  // namespace vqdb::index
