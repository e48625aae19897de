// The B-tree that every index kind shares: all keys with their record numbers in the leaves, in key
// order; above them separators, each the last key of the child that it leads to. Equal keys may
// stand in any order of records; a new entry goes before the equal keys that are there already.
//
// A change is made in memory as a whole or not at all: every page that it needs is in a pinned
// buffer, and every new page has its number, before the first byte changes.
#ifndef VQDBSYS_INDEX_TREE_TREE_H_
#define VQDBSYS_INDEX_TREE_TREE_H_

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "frame/result.h"
#include "index/keys/key_order.h"
#include "index/tree/page.h"
#include "index/tree/page_cache.h"

namespace vqdb::index {

inline constexpr std::uint32_t kMaxDepth = 32;
inline constexpr std::size_t kMaxKeyLength = 240;

// The way from the root to an entry of a leaf: in each page, which child or entry was chosen. Only
// the steps in use are copied.
struct Path {
  Path() = default;
  Path(const Path& other) { *this = other; }
  Path& operator=(const Path& other) {
    depth = other.depth;
    std::copy_n(other.steps.begin(), depth, steps.begin());
    return *this;
  }

  struct Step {
    PageNumber page;
    std::uint32_t slot;
  };
  std::array<Step, kMaxDepth> steps;
  std::uint32_t depth = 0;

  Step& leaf() { return steps[depth - 1]; }
  const Step& leaf() const { return steps[depth - 1]; }
};

struct Entry {
  const Byte* key;  // in a page buffer: valid until the tree is used again
  std::uint32_t recno;
};

class Tree {
 public:
  Tree(VqBlock& block, PageCache& cache, PageStore& store)
      : block_(block), cache_(cache), store_(store) {}

  // REQUIRES layout.is_sound() and layout.key_length <= kMaxKeyLength.
  void set_shape(const PageLayout& layout, const KeyOrder& order) {
    layout_ = layout;
    grid_ = KeyGrid(layout.key_length, layout.stride, layout.max_keys);
    order_ = &order;
  }
  // The root that the file names.
  void set_root(PageNumber root) {
    root_ = root;
    root_moved_ = false;
  }
  PageNumber root() const { return root_; }
  // Whether the root is another than the file names; the store writes it and says so.
  bool root_moved() const { return root_moved_; }
  void root_written() { root_moved_ = false; }
  const PageLayout& layout() const { return layout_; }
  const KeyOrder& order() const { return *order_; }

  // Where the key is, or would be inserted: the first entry equal to or above it. In the path's
  // leaf it may be the place behind the last entry; step_to_entry goes on from there.
  Result find(const Byte* key, Path& path);
  // find() for several keys, each in a tree of its own or all in one. Goes down level by level with
  // all of them, so that the processor fetches the pages of one while it searches those of the
  // others. After a failure no path counts.
  struct Search {
    Tree* tree = nullptr;
    const Byte* key = nullptr;
    Path path;
    PageNumber next = 0;  // page; 0 in the leaf
  };
  static Result find_together(std::span<Search> searches);
  // Where several keys are: the record number of the first entry with each key, as far as their own
  // leaf tells, and otherwise 0.
  static constexpr std::uint32_t kGroup = 16;
  Result find_group(const Byte* keys, std::uint32_t count, std::uint32_t* recnos);
  // The last entry equal to or below the key; found is false when there is none.
  Result find_last(const Byte* key, Path& path, bool& found);
  // From a place behind the last entry of a leaf to the first entry of the next leaf that has one.
  Result step_to_entry(Path& path, bool& found) {
    PageCache::Frame frame = 0;
    if (const Result result = fetch(path.leaf().page, frame); !ok(result)) return result;
    found = path.leaf().slot < page(frame).count();
    return found ? Result::ok : step(path, End::first, found);
  }
  // found is false, and the path as it was, where there is no such entry.
  Result first(Path& path, bool& found);
  Result last(Path& path, bool& found);
  Result next(Path& path, bool& found);
  Result previous(Path& path, bool& found);
  Result entry_at(const Path& path, Entry& entry);
  // The usual step: to the entry so many places further in the path's leaf. False, and the path as
  // it was, where there is none, or where the leaf would have to be looked for.
  bool step_in_leaf(Path& path, std::int32_t by, Entry& entry) {
    PageCache::Frame frame = 0;
    if (!cache_.find_home(path.leaf().page, frame)) return false;
    const Page leaf = page(frame);
    const std::uint32_t slot = path.leaf().slot + static_cast<std::uint32_t>(by);
    if (!leaf.is_sound() || slot >= leaf.count()) return false;
    path.leaf().slot = slot;
    entry = {leaf.key(slot), leaf.recno(slot)};
    return true;
  }
  // The usual step out of a leaf: to the next entry, of the leaf beside, which lies below the same
  // page. Otherwise false, and the path as it was.
  bool step_beside(Path& path, std::int32_t by, Entry& entry);
  // The usual step forward, up to so many times; key and record number of each entry go to the
  // place behind those of the one before. Gives how many there were.
  std::uint32_t copy_in_leaf(Path& path, std::uint32_t most, Byte* keys, std::uint32_t* recnos) {
    PageCache::Frame frame = 0;
    if (!cache_.find_home(path.leaf().page, frame)) return 0;
    const Page leaf = page(frame);
    const std::uint32_t first = path.leaf().slot + 1;
    if (!leaf.is_sound() || first >= leaf.count()) return 0;
    const std::uint32_t count = std::min(most, leaf.count() - first);
    leaf.copy_keys(first, count, keys);
    for (std::uint32_t i = 0; i < count; ++i) recnos[i] = leaf.recno(first + i);
    path.leaf().slot += count;
    return count;
  }
  // How many entries the path's leaf has.
  Result leaf_entries(const Path& path, std::uint32_t& count);
  // Copies the page of the path's leaf.
  Result copy_leaf(const Path& path, Byte* image);
  // Whether it is still as a copy of it.
  bool is_leaf_as(const Path& path, const Byte* image);
  // Whether the path still leads from the root to an entry with this key and record number.
  Result leads_to(const Path& path, const Byte* key, std::uint32_t recno, bool& does);

  // A leaf about halfway between those of two paths; found is false when none lies between them.
  // The path leads to its first entry.
  Result halfway(const Path& low, const Path& high, Path& middle, bool& found);

  // Whether the keys of the root ascend in an order.
  Result root_ascends(const KeyOrder& order, bool& ascends);

  // Inserts at the place that find() gave.
  Result insert(const Path& path, const Byte* key, std::uint32_t recno);
  // Removes the entry that the path leads to.
  Result remove(const Path& path);

 private:
  friend class LeafRemoval;
  struct Split;
  enum class End : std::uint8_t { first, middle, last };

  // The usual page is in its home.
  Result fetch(PageNumber number, PageCache::Frame& frame) {
    const bool is_home = number != 0 && cache_.find_home(number, frame);
    return is_home && page(frame).is_sound() ? Result::ok : fetch_away(number, frame);
  }
  Result fetch_away(PageNumber number, PageCache::Frame& frame);
  Result go_down(Search& search);
  Page page(PageCache::Frame frame) { return Page(layout_, cache_.image(frame)); }
  std::uint32_t place_in(const Page& node, KeyOrder::Bound bound, const Byte* key) const {
    return bound(grid_, node.key(0), node.count(), key);
  }
  Result descend(KeyOrder::Bound bound, const Byte* key, Path& path);
  Result descend(PageNumber start, End end, Path& path);
  // From the page at a level of the path, by another of its children.
  Result branch(const Path& path, std::uint32_t level, std::uint32_t slot, Path& branched);
  Result step(Path& path, End from, bool& found);
  bool step_beside(Path& path, End from);
  void await_step(const Path& path, End from);
  Result insert_with_split(const Path& path, const Byte* key, std::uint32_t recno);
  void split(Split& plan, const Path& path, const Byte* key, std::uint32_t recno);
  // The nearest page above the level whose entry, not its trailing child, leads down the path:
  // the one place that repeats the last key below. found is false on the right edge of the tree.
  Result find_separator(const Path& path, std::uint32_t level, std::uint32_t& at,
                        PageCache::Frame& frame, bool& found);
  // The page behind the path's one at this level becomes the path's, by its first child below; 0
  // where there is none.
  Result next_at(std::uint32_t level, Path& path, PageNumber& number);
  // What the page so many places behind the path's one at this level says of its left neighbour, in
  // file kinds that have a place for that, goes: the neighbour is about to change. Harmless when
  // the change is then given up.
  Result forget_left(const Path& path, std::uint32_t level, std::uint32_t places);
  void move_root(PageNumber root) {
    root_ = root;
    root_moved_ = true;
  }
  Result remove_last_entry(const Path& path, PageCache::Frame leaf);

  VqBlock& block_;
  PageCache& cache_;
  PageStore& store_;
  PageLayout layout_;
  KeyGrid grid_;
  const KeyOrder* order_ = nullptr;
  PageNumber root_ = 0;
  bool root_moved_ = false;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_TREE_H_
