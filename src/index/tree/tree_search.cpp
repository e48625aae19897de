#include "index/tree/tree.h"

namespace vqdb::index {
namespace {

constexpr Operation kSearch{1017};

}  // namespace

Result Tree::fetch_away(PageNumber number, PageCache::Frame& frame) {
  if (number == 0) return fail(block_, Result::page_error, kSearch.detail(1));
  if (const Result result = cache_.fetch(number, frame); !ok(result)) return result;
  if (!page(frame).is_sound()) return fail(block_, Result::page_error, kSearch.detail(2));
  return Result::ok;
}

Result Tree::descend(KeyOrder::Bound bound, const Byte* key, Path& path) {
  PageNumber number = root_;
  for (path.depth = 0; path.depth < kMaxDepth;) {
    PageCache::Frame frame = 0;
    if (const Result result = fetch(number, frame); !ok(result)) return result;
    cache_.prefetch(frame);
    const Page node = page(frame);
    const std::uint32_t slot = place_in(node, bound, key);
    path.steps[path.depth++] = {number, slot};
    // A page without keys ends the way, whatever it holds.
    if (node.count() == 0 || node.is_leaf()) return Result::ok;
    number = node.child(slot);
  }
  return fail(block_, Result::page_error, kSearch.detail(3));
}

Result Tree::descend(PageNumber number, End end, Path& path) {
  while (path.depth < kMaxDepth) {
    PageCache::Frame frame = 0;
    if (const Result result = fetch(number, frame); !ok(result)) return result;
    const Page node = page(frame);
    const std::uint32_t count = node.count();
    const bool is_last = count == 0 || node.is_leaf();
    const std::uint32_t middle = is_last ? 0 : (count + 1) / 2;
    path.steps[path.depth++] = {number,
                                end == End::first ? 0 : (end == End::middle ? middle : count)};
    if (is_last) return Result::ok;
    number = node.child(path.leaf().slot);
  }
  return fail(block_, Result::page_error, kSearch.detail(3));
}

Result Tree::find(const Byte* key, Path& path) { return descend(order_->lower_bound, key, path); }

// One level further.
Result Tree::go_down(Search& search) {
  PageCache::Frame frame = 0;
  if (const Result result = fetch(search.next, frame); !ok(result)) return result;
  const Page node = page(frame);
  const std::uint32_t slot = place_in(node, order_->lower_bound, search.key);
  search.path.steps[search.path.depth++] = {search.next, slot};
  search.next = node.count() == 0 || node.is_leaf() ? 0 : node.child(slot);
  if (search.next != 0) cache_.prefetch(cache_.home_of(search.next));
  return Result::ok;
}

Result Tree::find_together(std::span<Search> searches) {
  std::size_t under_way = searches.size();
  for (Search& search : searches) {
    search.next = search.tree->root_;
    search.path.depth = 0;
  }
  for (std::uint32_t level = 0; level < kMaxDepth && under_way > 0; ++level) {
    for (Search& search : searches) {
      if (search.next == 0) continue;
      if (const Result result = search.tree->go_down(search); !ok(result)) return result;
      if (search.next == 0) --under_way;
    }
  }
  if (under_way == 0) return Result::ok;
  return fail(searches.front().tree->block_, Result::page_error, kSearch.detail(3));
}

Result Tree::find_group(const Byte* keys, std::uint32_t count, std::uint32_t* recnos) {
  std::array<Search, kGroup> group;
  const std::span<Search> searches = std::span(group).first(count);
  for (std::size_t i = 0; i < count; ++i) {
    group[i].tree = this;
    group[i].key = keys + i * layout_.key_length;
  }
  if (const Result result = find_together(searches); !ok(result)) return result;
  for (const Search& search : searches) {
    PageCache::Frame frame = 0;
    const Path::Step& at = search.path.leaf();
    if (const Result result = fetch(at.page, frame); !ok(result)) return result;
    const Page leaf = page(frame);
    const bool holds = at.slot < leaf.count() &&
                       order_->compare(leaf.key(at.slot), search.key, layout_.key_length) == 0;
    *recnos++ = holds ? leaf.recno(at.slot) : 0;
  }
  return Result::ok;
}

Result Tree::find_last(const Byte* key, Path& path, bool& found) {
  if (const Result result = descend(order_->upper_bound, key, path); !ok(result)) return result;
  return previous(path, found);
}

// Moves to the neighbouring leaf that has entries: its first entry, or behind its last. Leaves
// without entries are passed over; more of them than a file of this size can hold are a circle.
Result Tree::step(Path& path, End from, bool& found) {
  found = step_beside(path, from);
  if (found) return Result::ok;
  Path way = path;
  for (std::uint32_t passed = 0; passed <= cache_.limit(); ++passed) {
    PageNumber child = 0;
    std::uint32_t level = way.depth - 1;
    while (child == 0) {
      if (level-- == 0) {
        found = false;
        return Result::ok;
      }
      PageCache::Frame frame = 0;
      Path::Step& upper = way.steps[level];
      if (const Result result = fetch(upper.page, frame); !ok(result)) return result;
      const Page node = page(frame);
      if (from == End::first ? upper.slot >= node.count() : upper.slot == 0) continue;
      upper.slot += from == End::first ? 1u : ~0u;
      if (upper.slot > node.count()) break;
      child = node.child(upper.slot);
      if (child == 0) break;
    }
    way.depth = level + 1;
    if (const Result result = descend(child, from, way); !ok(result)) return result;
    PageCache::Frame frame = 0;
    if (const Result result = fetch(way.leaf().page, frame); !ok(result)) return result;
    if (page(frame).count() == 0) continue;
    path = way;
    found = true;
    await_step(path, from);
    return Result::ok;
  }
  return fail(block_, Result::page_error, kSearch.detail(4));
}

// The usual step: to the leaf beside, below the same page. False, and the path as it was, where
// there is none, or where one of the pages would have to be looked for.
bool Tree::step_beside(Path& path, End from) {
  if (path.depth < 2) return false;
  PageCache::Frame frame = 0;
  Path::Step& upper = path.steps[path.depth - 2];
  if (!cache_.find_home(upper.page, frame)) return false;
  const Page node = page(frame);
  const std::uint32_t beside = upper.slot + (from == End::first ? 1u : ~0u);
  if (!node.is_sound() || beside > node.count()) return false;
  const PageNumber number = node.child(beside);
  if (number == 0 || !cache_.find_home(number, frame)) return false;
  const Page leaf = page(frame);
  if (!leaf.is_sound() || leaf.count() == 0 || !leaf.is_leaf()) return false;
  upper.slot = beside;
  path.leaf() = {number, from == End::first ? 0 : leaf.count()};
  await_step(path, from);
  return true;
}

bool Tree::step_beside(Path& path, std::int32_t by, Entry& entry) {
  PageCache::Frame frame = 0;
  if (!cache_.find_home(path.leaf().page, frame)) return false;
  const Page leaf = page(frame);
  const std::uint32_t slot = path.leaf().slot;
  if (!leaf.is_sound() || (by > 0 ? slot + 1 < leaf.count() : slot > 0)) return false;
  const End from = by > 0 ? End::first : End::last;
  return step_beside(path, from) && step_in_leaf(path, by > 0 ? 0 : -1, entry);
}

// A walk comes to the leaf beside the path's next: lets the processor fetch it meanwhile.
void Tree::await_step(const Path& path, End from) {
  PageCache::Frame frame = 0;
  if (path.depth < 2) return;
  const Path::Step& upper = path.steps[path.depth - 2];
  if (!cache_.find_home(upper.page, frame)) return;
  const std::uint32_t beside = upper.slot + (from == End::first ? 1u : ~0u);
  if (beside <= page(frame).count()) cache_.prefetch(cache_.home_of(page(frame).child(beside)));
}

Result Tree::first(Path& path, bool& found) {
  Path way;
  if (const Result result = descend(root_, End::first, way); !ok(result)) return result;
  const Result result = step_to_entry(way, found);
  if (ok(result) && found) path = way;
  return result;
}

Result Tree::last(Path& path, bool& found) {
  Path way;
  if (const Result result = descend(root_, End::last, way); !ok(result)) return result;
  const Result result = previous(way, found);
  if (ok(result) && found) path = way;
  return result;
}

Result Tree::next(Path& path, bool& found) {
  PageCache::Frame frame = 0;
  if (const Result result = fetch(path.leaf().page, frame); !ok(result)) return result;
  found = path.leaf().slot + 1 < page(frame).count();
  if (!found) return step(path, End::first, found);
  ++path.leaf().slot;
  return Result::ok;
}

Result Tree::previous(Path& path, bool& found) {
  found = path.leaf().slot > 0;
  if (!found) {
    const Result result = step(path, End::last, found);
    if (!ok(result) || !found) return result;
  }
  --path.leaf().slot;
  return Result::ok;
}

Result Tree::next_at(std::uint32_t level, Path& path, PageNumber& number) {
  number = 0;
  PageCache::Frame frame = 0;
  for (std::uint32_t at = level; number == 0;) {
    if (at-- == 0) return Result::ok;
    if (const Result result = fetch(path.steps[at].page, frame); !ok(result)) return result;
    if (path.steps[at].slot >= page(frame).count()) continue;
    number = page(frame).child(++path.steps[at].slot);
    for (++at; at < level; ++at) {
      if (const Result result = fetch(number, frame); !ok(result)) return result;
      path.steps[at] = {number, 0};
      number = page(frame).child(0);
    }
    break;
  }
  path.steps[level].page = number;
  return Result::ok;
}

Result Tree::branch(const Path& path, std::uint32_t level, std::uint32_t slot, Path& branched) {
  branched = path;
  branched.steps[level].slot = slot;
  branched.depth = level + 1;
  PageCache::Frame frame = 0;
  if (const Result result = fetch(path.steps[level].page, frame); !ok(result)) return result;
  return descend(page(frame).child(slot), End::middle, branched);
}

Result Tree::halfway(const Path& low, const Path& high, Path& middle, bool& found) {
  found = false;
  if (low.depth != high.depth) return Result::ok;
  std::uint32_t level = 0;
  while (level + 1 < low.depth && low.steps[level].slot == high.steps[level].slot) ++level;
  if (level + 1 == low.depth || low.steps[level].slot > high.steps[level].slot) return Result::ok;
  const std::uint32_t apart = high.steps[level].slot - low.steps[level].slot;
  if (apart > 1) {
    found = true;
    return branch(low, level, low.steps[level].slot + apart / 2, middle);
  }
  // Neighbours: what lies behind the low path, or before the high one, in the pages below.
  while (++level + 1 < low.depth) {
    PageCache::Frame frame = 0;
    if (const Result result = fetch(low.steps[level].page, frame); !ok(result)) return result;
    const std::uint32_t slot = low.steps[level].slot;
    const std::uint32_t count = page(frame).count();
    const std::uint32_t behind = count > slot ? count - slot : 0;
    const std::uint32_t before = high.steps[level].slot;
    found = behind > 0 || before > 0;
    if (!found) continue;
    return behind >= before ? branch(low, level, slot + (behind + 1) / 2, middle)
                            : branch(high, level, before / 2, middle);
  }
  return Result::ok;
}

Result Tree::entry_at(const Path& path, Entry& entry) {
  PageCache::Frame frame = 0;
  if (const Result result = fetch(path.leaf().page, frame); !ok(result)) return result;
  const Page leaf = page(frame);
  if (path.leaf().slot >= leaf.count()) {
    return fail(block_, Result::page_error, kSearch.detail(5));
  }
  entry = {leaf.key(path.leaf().slot), leaf.recno(path.leaf().slot)};
  return Result::ok;
}

Result Tree::leaf_entries(const Path& path, std::uint32_t& count) {
  PageCache::Frame frame = 0;
  if (const Result result = fetch(path.leaf().page, frame); !ok(result)) return result;
  count = page(frame).count();
  return Result::ok;
}

Result Tree::copy_leaf(const Path& path, Byte* image) {
  PageCache::Frame frame = 0;
  if (const Result result = fetch(path.leaf().page, frame); !ok(result)) return result;
  std::memcpy(image, cache_.image(frame), layout_.page_bytes);
  return Result::ok;
}

bool Tree::is_leaf_as(const Path& path, const Byte* image) {
  PageCache::Frame frame = 0;
  const std::int32_t detail = block_.detail;
  const bool is_there = ok(fetch(path.leaf().page, frame));
  block_.detail = detail;
  return is_there && std::memcmp(cache_.image(frame), image, layout_.page_bytes) == 0;
}

Result Tree::root_ascends(const KeyOrder& order, bool& ascends) {
  PageCache::Frame frame = 0;
  if (const Result result = fetch(root_, frame); !ok(result)) return result;
  const Page node = page(frame);
  std::uint32_t at = 1;
  while (at < node.count() &&
         order.compare(node.key(at - 1), node.key(at), layout_.key_length) <= 0) {
    ++at;
  }
  ascends = at >= node.count();
  return Result::ok;
}

Result Tree::leads_to(const Path& path, const Byte* key, std::uint32_t recno, bool& does) {
  does = false;
  PageNumber expected = root_;
  for (std::uint32_t level = 0; level < path.depth; ++level) {
    const Path::Step& step = path.steps[level];
    if (step.page != expected) return Result::ok;
    PageCache::Frame frame = 0;
    if (const Result result = fetch(step.page, frame); !ok(result)) return result;
    const Page node = page(frame);
    const bool at_end = level + 1 == path.depth;
    if (at_end != (node.count() == 0 || node.is_leaf())) return Result::ok;
    if (!at_end) {
      if (step.slot > node.count()) return Result::ok;
      expected = node.child(step.slot);
      continue;
    }
    does = step.slot < node.count() && node.recno(step.slot) == recno &&
           order_->compare(node.key(step.slot), key, layout_.key_length) == 0;
  }
  return Result::ok;
}

}  // namespace vqdb::index
