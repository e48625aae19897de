#include "index/mdx/mdx_tag.h"

#include <algorithm>

#include "frame/system_file.h"

namespace vqdb::index {
namespace {

constexpr Operation kActivate{100};
constexpr Operation kHead{1030};

constexpr KeyOperations kKeys = {.put = {116},
                                 .remove = {121},
                                 .update = {131},
                                 .find = {109},
                                 .current = {104},
                                 .next = {120},
                                 .previous = {117}};

bool is_same(const TagHeader& a, const TagHeader& b) {
  return a.format == b.format && a.stride == b.stride && a.max_keys == b.max_keys &&
         a.key == b.key && a.filter == b.filter;
}

}  // namespace

HandlePool<MdxTag>& mdx_tags() {
  static HandlePool<MdxTag> pool;
  return pool;
}

const KeyOrder& tag_key_order(const VqBlock& block, const TagFormat& format) {
  return key_order(format.key_kind(block.language == 1), format.descending);
}

Result read_tag_header(MdxStore& store, PageNumber page, TagHeaderImage& image, TagHeader& header) {
  const std::uint64_t offset = std::uint64_t{page} * kMdxUnitBytes;
  const auto read = store.read_past(offset, image);
  if (!read.ok()) return fail(store.block, transfer_result(read), kHead.detail(4));
  if (!parse_tag_header(image, store.header(), header)) {
    return fail(store.block, Result::bad_format, kHead.detail(6));
  }
  return Result::ok;
}

Result TagPages::prepare() { return tag_.bring_up_to_date(); }

Result TagPages::take(std::span<PageNumber> pages) {
  const Result result = tag_.store.take(pages);
  if (!ok(result)) return result;
  tag_.header.pages += static_cast<std::uint32_t>(pages.size()) * tag_.store.header().block_pages;
  tag_.pages_changed = true;
  return Result::ok;
}

void TagPages::release(PageNumber page) {
  tag_.store.release(page);
  tag_.header.pages -= tag_.store.header().block_pages;
  tag_.pages_changed = true;
}

MdxTag::MdxTag(MdxStore& file, const TagEntry& found)
    : store(file), entry(found), pages(*this), keys(file, pages, kKeys) {
  stand_for(file, &keys);
}

Result MdxTag::set_up() {
  if (const Result result = read_tag_header(store, entry.header_page, image_, header);
      !ok(result)) {
    return result;
  }
  const KeyOrder& order = tag_key_order(store.block, header.format);
  if (!keys.set_up(header.layout(store.header().block_bytes()), order, header.format.key_type,
                   header.format.unique)) {
    return fail(store.block, Result::no_memory, kActivate.detail(3));
  }
  keys.tree.set_root(header.root);
  return check_language(keys, header.format.descending, kActivate.detail(4));
}

void MdxTag::look_up(const TagTable& tags) {
  const TagEntry* const found = tags.find(entry.name_text());
  if (found != nullptr) entry = *found;
  is_up_to_date_ = found == nullptr;
  if (found != nullptr) return;
  keys.gone = true;
  keys.cursor.path_holds = false;  // its pages may be another tag's before it is made again
}

Result MdxTag::bring_up_to_date() {
  if (is_up_to_date_) return Result::ok;
  TagHeaderImage image;
  TagHeader now;
  if (const Result result = read_tag_header(store, entry.header_page, image, now); !ok(result)) {
    return result;
  }
  const bool gone = !is_same(header, now);
  if (gone != keys.gone) store.note_tag_change();
  keys.gone = gone;
  is_up_to_date_ = true;
  if (gone) return Result::ok;
  image_ = image;  // the texts that are views of it are the same
  header.root = now.root;
  header.pages = now.pages;
  keys.tree.set_root(now.root);
  pages_changed = false;
  return Result::ok;
}

bool MdxTag::is_as_known() {
  TagHeaderImage image;
  const std::uint64_t offset = std::uint64_t{entry.header_page} * kMdxUnitBytes;
  return store.system_file.read_exactly(offset, image.data(), image.size()).ok() &&
         std::equal(image.begin() + kTagRootBytes, image.end(), image_.begin() + kTagRootBytes);
}

bool MdxTag::log_root(RedoLog& log) {
  header.root = keys.tree.root();
  std::array<Byte, kTagRootBytes> bytes;
  store_tag_root(header, bytes.data());
  return log.add(entry.header_page, bytes);
}

void MdxTag::root_written() {
  if (!root_is_new()) return;
  keys.tree.root_written();
  pages_changed = false;
}

}  // namespace vqdb::index
