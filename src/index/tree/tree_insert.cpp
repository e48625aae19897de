#include "index/tree/pins.h"
#include "index/tree/tree.h"

namespace vqdb::index {
namespace {

// How a full page is divided for one more entry.
struct Division {
  std::uint32_t keep;  // old entries that stay in the lower part
  bool new_in_upper;
};

// Counting the new entry, the lower part gets half of the entries, rounded down; the new entry goes
// to the upper part only from beyond the middle, and then an odd number leaves the lower part the
// larger one. A new entry right at the middle stays below with everything before it.
Division divide(std::uint32_t count, std::uint32_t position) {
  const std::uint32_t half = (count + 1) / 2;
  if (position > half) return {count + 1 - half, true};
  return {position == half ? half : half - 1, false};
}

}  // namespace

// The pages of a split: on each level from the lowest splitting one down to the leaves the full
// page and the new one beside it, above them the page that receives the last separator.
struct Tree::Split {
  std::uint32_t top = 0;  // the highest level that splits
  bool new_root = false;
  PageCache::Frame receiver = 0;
  std::array<PageCache::Frame, kMaxDepth> full;
  std::array<PageCache::Frame, kMaxDepth + 1> fresh;  // by level; the new root is the last one
  std::array<PageNumber, kMaxDepth + 1> numbers;
};

Result Tree::insert(const Path& path, const Byte* key, std::uint32_t recno) {
  PageCache::Frame frame = 0;
  if (const Result result = fetch(path.leaf().page, frame); !ok(result)) return result;
  Page leaf = page(frame);
  if (leaf.is_full()) return insert_with_split(path, key, recno);
  leaf.insert_leaf_entry(path.leaf().slot, recno, key);
  cache_.mark_changed(frame);
  return Result::ok;
}

Result Tree::insert_with_split(const Path& path, const Byte* key, std::uint32_t recno) {
  Pins pins(cache_);
  Split plan;
  plan.top = path.depth;
  for (;;) {
    if (plan.top == 0) {
      plan.new_root = true;
      break;
    }
    const std::uint32_t level = plan.top - 1;
    PageCache::Frame frame = 0;
    if (const Result result = fetch(path.steps[level].page, frame); !ok(result)) return result;
    pins.hold(frame);
    if (!page(frame).is_full()) {
      plan.receiver = frame;
      break;
    }
    plan.full[level] = frame;
    plan.top = level;
  }
  for (std::uint32_t level = plan.top; level < path.depth; ++level) {
    if (const Result result = forget_left(path, level, 1); !ok(result)) return result;
  }
  const std::uint32_t splits = path.depth - plan.top;
  const std::uint32_t news = splits + (plan.new_root ? 1 : 0);
  for (std::uint32_t i = 0; i < news; ++i) {
    if (const Result result = cache_.fetch_new(plan.fresh[i]); !ok(result)) return result;
    pins.hold(plan.fresh[i]);
  }
  const Result result = store_.take(std::span(plan.numbers).first(news));
  if (ok(result)) split(plan, path, key, recno);
  return result;
}

Result Tree::forget_left(const Path& path, std::uint32_t level, std::uint32_t places) {
  if (layout_.left_at == 0) return Result::ok;
  Path way = path;
  for (; places > 0; --places) {
    PageNumber number = 0;
    const Result result = next_at(level, way, number);
    if (!ok(result) || number == 0) return result;
  }
  PageCache::Frame frame = 0;
  if (const Result result = fetch(way.steps[level].page, frame); !ok(result)) return result;
  if (page(frame).left() == 0) return Result::ok;
  page(frame).clear_left();
  cache_.mark_joint(frame, path.depth - 1 - level);
  return Result::ok;
}

// From the leaf up: divides each full page and carries its last key, as the separator, up.
void Tree::split(Split& plan, const Path& path, const Byte* key, std::uint32_t recno) {
  std::array<Byte, kMaxKeyLength> separator;
  std::memcpy(separator.data(), key, layout_.key_length);
  PageNumber right = 0;
  std::uint32_t height = 0;
  for (std::uint32_t level = path.depth; level-- > plan.top; ++height) {
    const PageCache::Frame fresh = plan.fresh[height];
    Page lower = page(plan.full[level]);
    Page upper = page(fresh);
    const std::uint32_t slot = path.steps[level].slot;
    const Division division = divide(lower.count(), slot);
    const bool is_leaf = height == 0;
    // The page that was split below stays the child of its separator; what led to it leads on to
    // the new page.
    const PageNumber left = is_leaf ? 0 : path.steps[level + 1].page;
    if (!is_leaf) lower.set_child(slot, right);
    upper.take_upper_part(lower, division.keep);
    Page& part = division.new_in_upper ? upper : lower;
    const std::uint32_t place = division.new_in_upper ? slot - division.keep : slot;
    if (is_leaf) {
      part.insert_leaf_entry(place, recno, separator.data());
    } else {
      part.insert_child_entry(place, left, separator.data());
    }
    const std::uint32_t last = lower.count() - 1;
    std::memcpy(separator.data(), lower.key(last), layout_.key_length);
    if (!is_leaf) lower.set_count(last);  // its child becomes the trailing one
    right = plan.numbers[height];
    cache_.name_new(fresh, right, height);
    cache_.mark_joint(plan.full[level], height);
  }
  if (!plan.new_root) {
    Page receiver = page(plan.receiver);
    const std::uint32_t slot = path.steps[plan.top - 1].slot;
    receiver.set_child(slot, right);
    receiver.insert_child_entry(slot, path.steps[plan.top].page, separator.data());
    cache_.mark_joint(plan.receiver, height);
    return;
  }
  Page root = page(plan.fresh[height]);
  root.insert_child_entry(0, root_, separator.data());
  root.set_child(1, right);
  cache_.name_new(plan.fresh[height], plan.numbers[height], height);
  move_root(plan.numbers[height]);
}

}  // namespace vqdb::index
