// An active tag of an open MDX file: its tree, what its header says, and the place of both.
#ifndef VQDBSYS_INDEX_MDX_MDX_TAG_H_
#define VQDBSYS_INDEX_MDX_MDX_TAG_H_

#include <array>
#include <cstdint>

#include "frame/handle_pool.h"
#include "index/mdx/mdx_store.h"
#include "index/mdx/tag_header.h"
#include "index/open/key_tree.h"
#include "platform/memory.h"

namespace vqdb::index {

// The front of a tag's header block, where both expressions lie.
using TagHeaderImage = std::array<Byte, 1024>;

// Reads and checks the header of a tag; its texts are views of the image. Details 10304 (not read),
// 10306 (no tag header).
Result read_tag_header(MdxStore& store, PageNumber page, TagHeaderImage& image, TagHeader& header);

// What a tag's tree has to do with the file: its pages are the file's, counted, and its root stands
// in the tag's header.
class TagPages final : public PageStore {
 public:
  explicit TagPages(MdxTag& tag) : tag_(tag) {}

  Result prepare() override;
  Result take(std::span<PageNumber> pages) override;
  void release(PageNumber page) override;

 private:
  MdxTag& tag_;
};

class MdxTag : public Index {
 public:
  MdxTag(MdxStore& file, const TagEntry& entry);

  // Takes header and root from the file. Details of read_tag_header, 1003 (no memory for a key).
  Result set_up();

  // The tag table is another one: where the header is now, if a tag of this name is there. What it
  // says is read when the tree is next used.
  void look_up(const TagTable& tags);
  // Under the file's lock, before the tree is used. A tag of this name that is defined otherwise is
  // another tag: this one is gone for as long as it is there.
  Result bring_up_to_date();
  // Whether the tree in memory is the file's, with what is still to be written.
  bool is_up_to_date() const { return is_up_to_date_ && !keys.gone; }
  // Whether the file's header, read without the lock, still has the definition that is known.
  bool is_as_known();
  // Whether root and page count are others than the file's.
  bool root_is_new() const {
    return !keys.gone && is_up_to_date_ && (keys.tree.root_moved() || pages_changed);
  }
  // Adds both to the log; false without memory.
  bool log_root(RedoLog& log);
  void root_written();

  MdxStore& store;
  TagEntry entry;
  TagHeader header;  // but for the root: that is the tree's
  bool pages_changed = false;
  TagPages pages;
  KeyTree keys;
  MdxTag* next = nullptr;  // of the file's tags
  std::uint32_t activations = 0;

 private:
  TagHeaderImage image_;  // of the header
  bool is_up_to_date_ = true;
};

HandlePool<MdxTag>& mdx_tags();

// How keys of this format are ordered under the block's settings.
const KeyOrder& tag_key_order(const VqBlock& block, const TagFormat& format);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_MDX_TAG_H_
