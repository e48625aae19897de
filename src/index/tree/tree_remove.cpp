#include "index/tree/leaf_removal.h"
#include "index/tree/pins.h"
#include "index/tree/tree.h"

namespace vqdb::index {
namespace {

constexpr Operation kRemove{1021};

}  // namespace

Result Tree::remove(const Path& path) {
  PageCache::Frame frame = 0;
  if (const Result result = fetch(path.leaf().page, frame); !ok(result)) return result;
  Page leaf = page(frame);
  const std::uint32_t count = leaf.count();
  if (path.leaf().slot >= count) return fail(block_, Result::page_error, kRemove.detail(1));
  if (path.depth > 1 && count == 1) return LeafRemoval::run(*this, path);
  if (path.depth > 1 && path.leaf().slot + 1 == count) return remove_last_entry(path, frame);
  leaf.remove_entry(path.leaf().slot);
  cache_.mark_changed(frame);
  return Result::ok;
}

Result Tree::find_separator(const Path& path, std::uint32_t level, std::uint32_t& at,
                            PageCache::Frame& frame, bool& found) {
  found = false;
  while (!found && level-- > 0) {
    if (const Result result = fetch(path.steps[level].page, frame); !ok(result)) return result;
    found = path.steps[level].slot < page(frame).count();
    at = level;
  }
  return Result::ok;
}

// The separator above follows, so that every separator is a key of the tree: readers that look an
// exact key up by separators alone find it.
Result Tree::remove_last_entry(const Path& path, PageCache::Frame frame) {
  Pins pins(cache_);
  pins.hold(frame);
  std::uint32_t level = 0;
  PageCache::Frame upper = 0;
  bool found = false;
  if (const Result result = find_separator(path, path.depth - 1, level, upper, found);
      !ok(result)) {
    return result;
  }
  Page leaf = page(frame);
  leaf.remove_entry(path.leaf().slot);
  cache_.mark_changed(frame);
  if (!found) return Result::ok;
  cache_.mark_joint(frame, 0);
  page(upper).set_key(path.steps[level].slot, leaf.key(leaf.count() - 1));
  cache_.mark_joint(upper, path.depth - 1 - level);
  return Result::ok;
}

}  // namespace vqdb::index
