#include "index/open/key_position.h"

#include <utility>

#include "index/open/equal_run.h"
#include "index/open/gap.h"

namespace vqdb::index {
namespace {

// The cursor's path leads to its anchor's entry, where that is still there.
Result find_again(KeyTree& keys, bool& found) {
  Cursor& cursor = keys.cursor;
  const Byte* const key = cursor.key.get();
  found = false;
  if (cursor.path_holds) {
    const Result result = keys.tree.leads_to(cursor.path, key, cursor.recno, found);
    if (!ok(result) || found) return result;
    cursor.path_holds = false;
  }
  const Result result = find_entry(keys, key, cursor.recno, cursor.path, found);
  cursor.path_holds = ok(result) && found;
  return result;
}

}  // namespace

Result find_entry(KeyTree& keys, const Byte* key, std::uint32_t recno, Path& path, bool& found) {
  const Cursor& cursor = keys.cursor;
  if (cursor.anchor == Cursor::Anchor::entry && cursor.path_holds && cursor.recno == recno &&
      std::memcmp(cursor.key.get(), key, keys.key_length()) == 0) {
    path = cursor.path;
    const Result result = keys.tree.leads_to(path, key, recno, found);
    if (!ok(result) || found) return result;
  }
  return EqualRun(keys, key, recno).search(path, found);
}

void keep_passed(KeyTree& keys, Direction direction) {
  Cursor& cursor = keys.cursor;
  if (!cursor.leaf_holds || cursor.leaf_page == cursor.path.leaf().page) return;
  const std::uint32_t count = Page(keys.tree.layout(), cursor.leaf.get()).count();
  const bool all_behind =
      direction == Direction::forward ? cursor.leaf_slot + 1 >= count : cursor.leaf_slot == 0;
  if (!all_behind) return;
  std::swap(cursor.leaf, cursor.passed);
  cursor.passed_holds = std::exchange(cursor.leaf_holds, false);
  cursor.passed_is_before = direction == Direction::forward;
}

bool keep_leaf(KeyTree& keys, const Path& path) {
  if (!keys.file.is_shared()) return false;
  keys.cursor.leaf_holds = false;
  keys.cursor.leaf_slot = path.leaf().slot;
  keys.cursor.leaf_page = path.leaf().page;
  return ok(keys.tree.copy_leaf(path, keys.cursor.leaf.get()));
}

Result locate(KeyTree& keys, Direction direction, bool& at_entry) {
  Cursor& cursor = keys.cursor;
  if (cursor.path_holds && !keys.file.is_shared()) {
    at_entry = true;
    return Result::ok;
  }
  if (const Result result = find_again(keys, at_entry); !ok(result)) return result;
  if (!cursor.leaf_holds)
    return at_entry ? Result::ok : keys.tree.find(cursor.key.get(), cursor.path);
  Gap gap(keys, direction);
  bool leaf_changed = true;
  if (at_entry) {
    const Result result = gap.still_fits(cursor.path, at_entry);
    if (!ok(result) || at_entry) return result;
    cursor.path_holds = false;
    leaf_changed = !keys.tree.is_leaf_as(cursor.path, cursor.leaf.get());
  }
  // Others' changes begin the count anew. A place that does not fit without one counts as a leaf:
  // in pages that run in a circle it never fits.
  cursor.leaves_passed = leaf_changed ? 0 : cursor.leaves_passed + places(direction);
  return gap.find(cursor.path);
}

}  // namespace vqdb::index
