#include <algorithm>
#include <vector>

#include "index/mdx/mdx_build.h"
#include "index/open/key_position.h"

namespace vqdb::index {
namespace {

constexpr Operation kDrop{126};

// The blocks of a tag's tree, found from the root down; leaves are not read, so the way down to one
// of them says how many levels there are.
class TreeBlocks {
 public:
  TreeBlocks(MdxStore& store, const TagHeader& header)
      : store_(store), layout_(header.layout(store.header().block_bytes())), blocks_{header.root} {}

  // False when the tree is damaged or cannot be read.
  bool collect() {
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
  const std::vector<PageNumber>& blocks() const { return blocks_; }

 private:
  bool add_children(PageNumber number, bool& is_leaf) {
    PageCache::Frame frame = 0;
    if (!store_.header().holds_block(number) || !ok(store_.cache.fetch(number, frame))) {
      return false;
    }
    const Page page(layout_, store_.cache.image(frame));
    if (!page.is_sound() || blocks_.size() > store_.header().pages) return false;
    is_leaf = page.count() == 0 || page.is_leaf();
    for (std::uint32_t slot = 0; !is_leaf && slot <= page.count(); ++slot) {
      blocks_.push_back(page.child(slot));
    }
    return true;
  }

  MdxStore& store_;
  const PageLayout layout_;
  std::vector<PageNumber> blocks_;
};

// A tree that is damaged, or has another number of blocks than its header counts, keeps them: they
// may be somebody else's. They are lost until the file is built again.
std::vector<PageNumber> blocks_of(MdxStore& store, const TagEntry& entry) {
  TagHeaderImage image;
  TagHeader header;
  if (!ok(read_tag_header(store, entry.header_page, image, header))) return {};
  TreeBlocks tree(store, header);
  if (!tree.collect()) return {};
  std::vector<PageNumber> blocks = tree.blocks();
  blocks.push_back(entry.header_page);
  std::ranges::sort(blocks, std::greater<>());
  const std::uint32_t step = store.header().block_pages;
  const auto pages = static_cast<std::uint32_t>(blocks.size()) * step;
  const bool counts_agree = pages <= header.pages + step && header.pages <= pages + step;
  const bool all_there = std::ranges::all_of(
      blocks, [&](PageNumber page) { return store.header().holds_block(page); });
  const bool twice = std::ranges::adjacent_find(blocks) != blocks.end();
  return counts_agree && all_there && !twice ? blocks : std::vector<PageNumber>();
}

Result drop(MdxFile& file, std::string_view name) {
  MdxStore& store = file.store;
  const TagEntry* const found = store.tags().find(name);
  if (found == nullptr) return fail(file.block, Result::unknown_name, kDrop.detail(2));
  const TagEntry entry = *found;
  if (const Result result = store.flush(); !ok(result)) return result;
  const std::vector<PageNumber> blocks = blocks_of(store, entry);
  TagTable tags = store.tags();
  tags.remove(*tags.find(name));
  if (const Result result = store.write_tags(tags, store.header().production); !ok(result)) {
    return result;
  }
  for (const PageNumber page : blocks) store.release(page);
  return store.flush();
}

}  // namespace

Result drop_tag(MdxFile& file, std::string_view name) {
  if (file.store.is_read_only()) return fail(file.block, Result::read_only, kDrop.detail(3));
  return in_bracket(file.store, [&] { return drop(file, name); });
}

}  // namespace vqdb::index
