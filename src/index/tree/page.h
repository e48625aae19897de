// A page of a B-tree, used where it lies in its buffer. The layout says where a file kind keeps the
// count, the entries and their parts; a page whose trailing child is 0 is a leaf.
//
//   count | entry 0 | entry 1 | ... | entry count-1 | trailing child
//
// An interior entry begins with the page number of the child that has the keys up to and including
// its key; the trailing child has the keys above the last entry's. A leaf entry names a record.
#ifndef VQDBSYS_INDEX_TREE_PAGE_H_
#define VQDBSYS_INDEX_TREE_PAGE_H_

#include <cstdint>
#include <cstring>

#include "frame/bytes.h"
#include "index/keys/key_order.h"

namespace vqdb::index {

using PageNumber = std::uint32_t;  // 0 is no page of a tree

struct PageLayout {
  std::uint32_t page_bytes = 0;
  std::uint32_t left_at = 0;     // of the left neighbour's number, in the page; 0: has no place
  std::uint32_t entries_at = 0;  // in the page
  std::uint32_t recno_at = 0;    // in an entry; 0 where it shares its place with the child
  std::uint32_t key_at = 0;      // in an entry
  std::uint32_t stride = 0;      // from one entry to the next
  std::uint32_t key_length = 0;
  std::uint32_t max_keys = 0;

  // Splits leave no page without keys, and entries and trailing child stay within the page.
  bool is_sound() const {
    return max_keys >= 3 && key_length > 0 && stride >= key_at + key_length &&
           entries_at + std::uint64_t{max_keys} * stride + sizeof(PageNumber) <= page_bytes;
  }
};

class Page {
 public:
  Page(const PageLayout& layout, Byte* bytes) : layout_(&layout), bytes_(bytes) {}

  std::uint32_t count() const { return load_le16(bytes_); }
  // Whether the count is one that the layout allows; nothing else may be asked before.
  bool is_sound() const { return count() <= layout_->max_keys; }
  bool is_full() const { return count() >= layout_->max_keys; }
  bool is_leaf() const { return child(count()) == 0; }

  const Byte* key(std::uint32_t slot) const { return entry(slot) + layout_->key_at; }
  std::uint32_t recno(std::uint32_t slot) const {
    return load_le32(entry(slot) + layout_->recno_at);
  }
  // The child of an entry, or the trailing one for slot == count().
  PageNumber child(std::uint32_t slot) const { return load_le32(entry(slot)); }

  // Copies so many keys from the slot on, one behind the other.
  void copy_keys(std::uint32_t slot, std::uint32_t count, Byte* to) const {
    const std::size_t length = layout_->key_length;
    const std::size_t stride = layout_->stride;
    const Byte* from = key(slot);
    for (; count > 0; --count, from += stride, to += length) copy_short(to, from, length);
  }

  // A page that changes no longer names its left neighbour, in file kinds that have a place for
  // that: neighbours come and go without it.
  void set_count(std::uint32_t count) {
    store_le32(bytes_, count);
    if (layout_->left_at != 0) clear_left();
  }
  // 0 where none is named, or has a place.
  PageNumber left() const {
    return layout_->left_at != 0 ? load_le32(bytes_ + layout_->left_at) : 0;
  }
  void clear_left() { store_le32(bytes_ + layout_->left_at, 0); }
  void set_child(std::uint32_t slot, PageNumber page) { store_le32(entry(slot), page); }
  void set_key(std::uint32_t slot, const Byte* key) {
    std::memcpy(entry(slot) + layout_->key_at, key, layout_->key_length);
  }

  // REQUIRES slot <= count() and !is_full().
  void insert_leaf_entry(std::uint32_t slot, std::uint32_t recno, const Byte* key) {
    store_le32(open_gap(slot, key) + layout_->recno_at, recno);
  }
  void insert_child_entry(std::uint32_t slot, PageNumber child, const Byte* key) {
    store_le32(open_gap(slot, key), child);
  }
  // What lies behind the entry, the trailing child included, moves down. REQUIRES slot < count().
  void remove_entry(std::uint32_t slot);
  // Makes this page, in a fresh buffer, hold the entries of `from` behind the first `keep`, with
  // its trailing child; `from` keeps the first ones and is left without a trailing child.
  void take_upper_part(Page from, std::uint32_t keep);
  void copy_from(Page other) { std::memcpy(bytes_, other.bytes_, layout_->page_bytes); }

 private:
  Byte* entry(std::uint32_t slot) const {
    return bytes_ + layout_->entries_at + slot * layout_->stride;
  }
  // Moves the entries from the slot on, and the trailing child, up by one; the new entry holds the
  // key and is zero otherwise.
  Byte* open_gap(std::uint32_t slot, const Byte* key);

  const PageLayout* layout_;
  Byte* bytes_;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_PAGE_H_
