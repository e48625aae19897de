#include <algorithm>
#include <vector>

#include "index/mdx/mdx_build.h"
#include "index/mdx/tree_blocks.h"
#include "index/open/key_position.h"

namespace vqdb::index {
namespace {

constexpr Operation kDrop{126};

// A tree that is damaged, or has another number of blocks than its header counts, keeps them: they
// may be somebody else's. They are lost until the file is built again.
std::vector<PageNumber> blocks_of(MdxStore& store, const TagEntry& entry) {
  TagHeaderImage image;
  TagHeader header;
  if (!ok(read_tag_header(store, entry.header_page, image, header))) return {};
  TreeBlocks tree(store, header, header.root);
  if (!ok(tree.collect())) return {};
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
  if (const Result result = store.check_whole(); !ok(result)) return result;
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
  return in_bracket(file.store, Purpose::changing, [&] { return drop(file, name); });
}

}  // namespace vqdb::index
