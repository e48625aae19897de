// Removal of the last entry of a leaf: the leaf leaves the tree, and with it the pages above that
// led nowhere else. An interior page left without keys hands its remaining child to a neighbour:
// to a new page that takes the neighbour's place, or, where the neighbour is full, to a new page in
// its own place that takes a child over from the neighbour. In the file the old pages thus stay as
// they are until the page above them is written. A root left without keys gives way to its child.
#ifndef VQDBSYS_INDEX_TREE_LEAF_REMOVAL_H_
#define VQDBSYS_INDEX_TREE_LEAF_REMOVAL_H_

#include <array>
#include <cstdint>

#include "index/tree/pins.h"
#include "index/tree/tree.h"

namespace vqdb::index {

class LeafRemoval {
 public:
  // REQUIRES a path of more than one level to the only entry of its leaf.
  static Result run(Tree& tree, const Path& path);

 private:
  // A page left without keys, by level from the bottom up.
  struct Collapse {
    PageCache::Frame neighbour = 0;
    PageCache::Frame fresh = 0;
    PageNumber neighbour_number = 0;
    bool neighbour_is_right = false;
    bool borrows = false;
  };

  LeafRemoval(Tree& tree, const Path& path) : tree_(tree), path_(path), pins_(tree.cache_) {}

  Result plan();
  Result plan_collapse(std::uint32_t level, Collapse& collapse);
  Result plan_separator(std::uint32_t level);
  Result hold(PageNumber number, PageCache::Frame& frame);
  Result reserve_numbers();
  void apply();
  void apply_collapse(std::uint32_t level, std::size_t index);
  void hand_right(Page parent, std::uint32_t slot, PageNumber child, std::size_t index);
  void hand_left(Page parent, std::uint32_t slot, PageNumber child, std::size_t index);
  void give_up(PageCache::Frame frame, PageNumber number);
  std::uint32_t height(std::uint32_t level) const { return path_.depth - 1 - level; }
  std::uint32_t bottom() const { return path_.depth - 2; }

  Tree& tree_;
  const Path& path_;
  Pins pins_;
  PageCache::Frame leaf_ = 0;
  std::array<PageCache::Frame, kMaxDepth> pages_ = {};  // by level
  std::array<Collapse, kMaxDepth> collapses_ = {};
  std::array<PageNumber, kMaxDepth> numbers_ = {};
  std::size_t collapse_count_ = 0;
  std::uint32_t top_ = 0;  // the highest level that changes
  bool root_gives_way_ = false;

  // The last key below the page at hand, when it changed and no separator names it yet.
  bool has_new_last_ = false;
  std::array<Byte, kMaxKeyLength> new_last_ = {};
  bool has_separator_ = false;
  PageCache::Frame separator_page_ = 0;
  std::uint32_t separator_level_ = 0;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_LEAF_REMOVAL_H_
