#include "index/open/equal_run.h"

#include "index/open/key_position.h"

namespace vqdb::index {
namespace {

constexpr Operation kPosition{1025};

constexpr PageNumber kLeavesAtEnds = 4;  // looked at before halving
constexpr int kMostHalvings = 64;        // more than a run of 2^32 entries takes

}  // namespace

Result EqualRun::scan_leaf(Path& side, Result (Tree::*move)(Path&, bool&), Progress& progress) {
  const PageNumber leaf = side.leaf().page;
  while (side.leaf().page == leaf) {
    Entry entry{};
    if (const Result result = keys_.tree.entry_at(side, entry); !ok(result)) return result;
    progress = Progress::ended;
    if (compare(keys_, entry.key, key_) != 0) return Result::ok;
    if (entry.recno == recno_) {
      progress = Progress::found;
      return Result::ok;
    }
    if (met()) return Result::ok;
    bool more = false;
    if (const Result result = (keys_.tree.*move)(side, more); !ok(result) || !more) return result;
    progress = Progress::goes_on;
  }
  return Result::ok;
}

Result EqualRun::look_into(Path& leaf, Slope slope, bool& found, bool& is_behind) {
  std::uint32_t count = 0;
  if (const Result result = keys_.tree.leaf_entries(leaf, count); !ok(result)) return result;
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  for (std::uint32_t slot = 0; slot < count && !found; ++slot) {
    Entry entry{};
    leaf.leaf().slot = slot;
    if (const Result result = keys_.tree.entry_at(leaf, entry); !ok(result)) return result;
    if (slot == 0) first = entry.recno;
    last = entry.recno;
    found = entry.recno == recno_ && compare(keys_, entry.key, key_) == 0;
  }
  const Slope here = last < first ? Slope::falling : Slope::rising;
  is_behind = here == slope ? (recno_ > first) == (slope == Slope::rising) : here == Slope::falling;
  return Result::ok;
}

Result EqualRun::halve(Slope slope, Path& path, bool& found) {
  Path low = front_;
  Path high = back_;
  for (int halvings = 0; halvings < kMostHalvings; ++halvings) {
    bool any = false;
    Path middle;
    const Result between = keys_.tree.halfway(low, high, middle, any);
    if (!ok(between) || !any) return between;
    bool is_behind = false;
    const Result result = look_into(middle, slope, found, is_behind);
    if (found) path = middle;
    if (!ok(result) || found) return result;
    (is_behind ? low : high) = middle;
  }
  return Result::ok;
}

Result EqualRun::search(Path& path, bool& found) {
  found = false;
  bool any = false;
  if (const Result result = keys_.tree.find(key_, front_); !ok(result)) return result;
  if (const Result result = keys_.tree.step_to_entry(front_, any); !ok(result) || !any) {
    return result;
  }
  for (PageNumber leaves = 0; leaves <= keys_.file.cache.limit(); ++leaves) {
    const bool from_back = leaves % 2 != 0;
    if (from_back && !has_back_) {
      if (const Result result = keys_.tree.find_last(key_, back_, has_back_);
          !ok(result) || !has_back_) {
        return result;
      }
    }
    Path& side = from_back ? back_ : front_;
    Progress progress = Progress::ended;
    Result result = scan_leaf(side, from_back ? &Tree::previous : &Tree::next, progress);
    if (!ok(result) || progress == Progress::ended) return result;
    if (progress == Progress::found) {
      path = side;
      found = true;
      return Result::ok;
    }
    if (leaves + 1 != kLeavesAtEnds) continue;
    for (const Slope slope : {Slope::falling, Slope::rising}) {
      if (ok(result) && !found) result = halve(slope, path, found);
    }
    if (!ok(result) || found) return result;
  }
  return fail(keys_.file.block, Result::page_error, kPosition.detail(1));
}

}  // namespace vqdb::index
