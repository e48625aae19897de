#include "index/mdx/mdx_store.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "frame/system_file.h"
#include "index/mdx/mdx_tag.h"
#include "index/mdx/tree_blocks.h"

namespace vqdb::index {
namespace {

constexpr Operation kHead{1030};
constexpr Operation kWrite{1031};
constexpr Operation kFreeList{1033};

PageGrid grid_of(const MdxHeader& header) {
  return {kMdxUnitBytes, header.block_bytes(), kFirstMdxBlock};
}

// Tag table and count of tags.
bool has_same_tags(const MdxHeadBytes& a, const MdxHeadBytes& b) {
  return std::equal(a.begin() + kTagTableAt, a.end(), b.begin() + kTagTableAt) &&
         std::equal(&a[kTagsAt], &a[kTagsAt] + 2, &b[kTagsAt]);
}

std::uint64_t offset_of(PageNumber page) { return std::uint64_t{page} * kMdxUnitBytes; }

}  // namespace

Result read_mdx_head(VqBlock& block, platform::File& file, PageNumber known_pages, MdxHead& head) {
  const auto read = file.read_exactly(0, head.bytes.data(), head.bytes.size());
  if (!read.ok()) return fail(block, transfer_result(read), kHead.detail(1));
  MdxHeaderBytes header_bytes;
  TagTableBytes table_bytes;
  std::copy_n(head.bytes.begin(), header_bytes.size(), header_bytes.begin());
  std::copy_n(&head.bytes[kTagTableAt], table_bytes.size(), table_bytes.begin());
  head.pages_in_file = known_pages;
  // The header may count more pages than are known to be there.
  if (!parse_mdx_header(header_bytes, known_pages, head.header)) {
    const PageNumber counted = load_le32(&header_bytes[kMdxPagesAt]);
    std::uint64_t size = 0;
    std::uint64_t pages = 0;
    if (!RedoLog::find_end(file, kMdxUnitBytes, counted, size, pages)) {
      return fail(block, Result::io, kHead.detail(1));
    }
    pages = std::min(pages, size / kMdxUnitBytes);
    if (pages > std::numeric_limits<PageNumber>::max() ||
        !parse_mdx_header(header_bytes, pages, head.header)) {
      return fail(block, Result::bad_format, kHead.detail(2));
    }
    head.pages_in_file = static_cast<PageNumber>(pages);
  }
  if (head.header.unfinished) head.pages_in_file = head.header.pages;  // the log stands there
  if (!head.tags.parse(table_bytes, head.header)) {
    return fail(block, Result::bad_format, kHead.detail(3));
  }
  return Result::ok;
}

MdxStore::MdxStore(VqBlock& owner, const MdxHead& head)
    : IndexFile(owner, grid_of(head.header)), head_(head) {
  adopt();
}

Result MdxStore::start() {
  const bool unfinished = std::exchange(head_.header.unfinished, false);
  if (!is_shared()) return complete(unfinished);
  head_.pages_in_file = 0;
  return Result::ok;
}

// What the head says now is what the file says.
void MdxStore::adopt() {
  const std::uint32_t step = head_.header.block_pages;
  // Where a block was cut short, the next one begins behind it.
  const PageNumber blocks = (head_.pages_in_file - kFirstMdxBlock + step - 1) / step;
  file_end_ = end_ = kFirstMdxBlock + blocks * step;
  released_.clear();
  head_passed_ = has_grown_ = false;
  cache.set_limit(end_);
}

Result MdxStore::read_headers(bool& unfinished) {
  const std::uint32_t block_pages = head_.header.block_pages;
  MdxHead head;
  if (const Result result = read_mdx_head(block, system_file, head_.pages_in_file, head);
      !ok(result)) {
    return result;
  }
  if (head.header.block_pages != block_pages) {
    return fail(block, Result::bad_format, kHead.detail(2));
  }
  if (!has_same_tags(head.bytes, head_.bytes)) note_tag_change();
  head_ = head;
  unfinished = head.header.unfinished;
  head_.header.unfinished = false;
  adopt();
  for (MdxTag* tag = first_tag_; tag != nullptr; tag = tag->next) tag->look_up(head_.tags);
  return Result::ok;
}

void MdxStore::attach_tag(MdxTag& tag) {
  tag.next = first_tag_;
  first_tag_ = &tag;
}

void MdxStore::detach_tag(MdxTag& tag) {
  MdxTag** link = &first_tag_;
  while (*link != &tag) link = &(*link)->next;
  *link = tag.next;
}

Result MdxStore::write_tags(const TagTable& tags, bool production) {
  MdxHead next = head_;
  next.tags = tags;
  next.header.tags = static_cast<std::uint32_t>(tags.tags().size());
  next.header.production = production;
  MdxHeaderBytes header_bytes;
  TagTableBytes table_bytes;
  std::copy_n(next.bytes.begin(), header_bytes.size(), header_bytes.begin());
  store_mdx_header(next.header, convert::today(), header_bytes);
  tags.format(table_bytes);
  std::ranges::copy(header_bytes, next.bytes.begin());
  std::ranges::copy(table_bytes, &next.bytes[kTagTableAt]);
  auto outcome = system_file.write_at(0, next.bytes.data(), next.bytes.size());
  if (!outcome.ok()) outcome = system_file.write_at(0, next.bytes.data(), next.bytes.size());
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kWrite.detail(2));
  head_ = next;
  note_tag_change();
  for (MdxTag* tag = first_tag_; tag != nullptr; tag = tag->next) tag->look_up(head_.tags);
  return Result::ok;
}

std::uint32_t MdxStore::tag_state() {
  const std::int32_t detail = block.detail;
  MdxHeadBytes bytes;
  bool known = is_entered() || (system_file.read_exactly(0, bytes.data(), bytes.size()).ok() &&
                                has_same_tags(bytes, head_.bytes));
  for (MdxTag* tag = first_tag_; known && tag != nullptr; tag = tag->next) {
    if (tag->activations == 0) continue;
    known = is_entered() ? ok(tag->bring_up_to_date()) : tag->keys.gone || tag->is_as_known();
  }
  block.detail = detail;
  return known ? tag_changes_ : 0;
}

Result MdxStore::read_link(PageNumber page, PageNumber& next) {
  std::array<Byte, sizeof next> bytes;
  const auto outcome = cache.read_past(offset_of(page) + kFreeLinkAt, {bytes.data(), bytes.size()});
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kFreeList.detail(1));
  next = load_le32(bytes.data());
  if (next == page || (next != 0 && !head_.header.holds_block(next))) {
    return fail(block, Result::bad_format, kFreeList.detail(2));
  }
  return Result::ok;
}

// Marks the pages of a tag.
Result MdxStore::mark_tree(const TagEntry& entry, std::vector<bool>& pages) {
  TagHeaderImage image;
  TagHeader header;
  if (const Result result = read_tag_header(*this, entry.header_page, image, header); !ok(result)) {
    return result;
  }
  PageNumber root = header.root;
  for (const MdxTag* tag = first_tag_; tag != nullptr; tag = tag->next) {
    if (tag->is_up_to_date() && tag->entry.name == entry.name) root = tag->keys.tree.root();
  }
  TreeBlocks tree(*this, header, root);
  if (const Result result = tree.collect(); !ok(result)) return result;
  const auto mark = [&](PageNumber block_at) {
    for (PageNumber i = 0; i < head_.header.block_pages; ++i) {
      if (block_at + i < pages.size()) pages[block_at + i] = true;
    }
  };
  mark(entry.header_page);
  std::ranges::for_each(tree.blocks(), mark);
  return Result::ok;
}

Result MdxStore::mark_trees(std::vector<bool>& pages) {
  for (const TagEntry& entry : head_.tags.tags()) {
    if (const Result result = mark_tree(entry, pages); !ok(result)) return result;
  }
  return Result::ok;
}

// The list ends after as many blocks as the header counts, and none of them is a tag's.
Result MdxStore::walk_free_list(const std::vector<bool>& tags) {
  const MdxHeader& header = head_.header;
  std::uint32_t blocks = 0;
  for (PageNumber page = header.first_free; page != 0; ++blocks) {
    const auto from = tags.begin() + page;
    if (blocks == header.free_blocks ||
        std::find(from, from + header.block_pages, true) != from + header.block_pages) {
      return fail(block, Result::bad_format, kFreeList.detail(2));
    }
    if (const Result result = read_link(page, page); !ok(result)) return result;
  }
  return blocks == header.free_blocks ? Result::ok
                                      : fail(block, Result::bad_format, kFreeList.detail(2));
}

// Once for each open file. Where a tree is damaged nobody can tell what belongs to it.
Result MdxStore::check_free_list() {
  try {
    std::vector<bool> tags(head_.header.pages + head_.header.block_pages);
    Result result = mark_trees(tags);
    if (ok(result)) result = walk_free_list(tags);
    list_is_checked_ = ok(result);
    return result;
  } catch (const std::bad_alloc&) {
    return fail(block, Result::no_memory, kFreeList.detail(5));
  }
}

Result MdxStore::take(std::span<PageNumber> pages) {
  MdxHeader& header = head_.header;
  if (header.first_free != 0 && !list_is_checked_) {
    if (const Result result = check_free_list(); !ok(result)) return result;
  }
  PageNumber first_free = header.first_free;
  std::uint32_t from_list = 0;
  PageNumber end = end_;
  for (PageNumber& page : pages) {
    if (first_free != 0) {
      page = first_free;
      ++from_list;
      if (const Result result = read_link(page, first_free); !ok(result)) return result;
    } else {
      if (end > std::numeric_limits<PageNumber>::max() - header.block_pages) {
        return fail(block, Result::disk_full, kFreeList.detail(3));
      }
      page = end;
      end += header.block_pages;
    }
  }
  head_passed_ = head_passed_ || from_list > 0;
  has_grown_ = has_grown_ || end != end_;
  header.first_free = first_free;
  header.free_blocks -= from_list;
  end_ = end;
  cache.set_limit(end_);
  return Result::ok;
}

void MdxStore::release(PageNumber page) {
  try {
    released_.push_back(page);
  } catch (const std::bad_alloc&) {
    // The block is lost until the file is built again, and in no two places.
  }
}

Result MdxStore::store_header(const MdxHeader& header) {
  MdxHeaderBytes bytes;
  std::copy_n(head_.bytes.begin(), bytes.size(), bytes.begin());
  store_mdx_header(header, convert::today(), bytes);
  const auto outcome = system_file.write_at(0, bytes.data(), bytes.size());
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kWrite.detail(1));
  std::ranges::copy(bytes, head_.bytes.begin());
  head_.header = header;
  head_.header.unfinished = false;
  head_passed_ = false;
  return Result::ok;
}

Result MdxStore::write_taken() { return head_passed_ ? store_header(head_.header) : Result::ok; }

bool MdxStore::has_changes() const {
  bool moved = head_passed_ || has_grown_ || !released_.empty();
  for (const MdxTag* tag = first_tag_; tag != nullptr && !moved; tag = tag->next) {
    moved = tag->root_is_new();
  }
  return moved;
}

// The roots, and the links of the free list to which released pages come.
bool MdxStore::log_changes(RedoLog& log) {
  bool has_room = true;
  for (MdxTag* tag = first_tag_; tag != nullptr; tag = tag->next) {
    has_room = has_room && (!tag->root_is_new() || tag->log_root(log));
  }
  PageNumber next = head_.header.first_free;
  for (const PageNumber page : released_) {
    std::array<Byte, kFreeLinkAt + sizeof page> bytes = {};
    store_le32(&bytes[kFreeLinkAt], next);
    has_room = has_room && log.add(page, bytes);
    next = page;
  }
  return has_room;
}

// Blocks that were taken and given back without being written are in the file all the same: it has
// to hold as many pages as its header counts.
Result MdxStore::reach_end() {
  std::uint64_t size = 0;
  if (!system_file.size(size).ok()) return fail(block, Result::io, kWrite.detail(1));
  if (size >= offset_of(end_)) return Result::ok;
  constexpr Byte kLast = 0;
  const auto outcome = system_file.write_at(offset_of(end_) - 1, &kLast, 1);
  return outcome.ok() ? Result::ok : fail(block, transfer_result(outcome), kWrite.detail(1));
}

Result MdxStore::write_header(bool unfinished) {
  if (has_grown_) {
    if (const Result result = reach_end(); !ok(result)) return result;
  }
  MdxHeader header = head_.header;
  if (has_grown_ || unfinished) header.pages = end_;
  if (!released_.empty()) header.first_free = released_.back();
  header.free_blocks += static_cast<std::uint32_t>(released_.size());
  header.unfinished = unfinished;
  if (const Result result = store_header(header); !ok(result)) return result;
  released_.clear();
  has_grown_ = false;
  head_.pages_in_file = std::max(head_.pages_in_file, header.pages);
  file_end_ = end_;
  for (MdxTag* tag = first_tag_; tag != nullptr; tag = tag->next) tag->root_written();
  return Result::ok;
}

}  // namespace vqdb::index
