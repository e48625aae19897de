#include "index/open/key_position.h"

#include <algorithm>
#include <utility>

#include "index/open/equal_run.h"

namespace vqdb::index {
namespace {

bool is_equal(const KeyTree& keys, const Byte* key) {
  return compare(keys, key, keys.cursor.key.get()) == 0;
}

// The place of a vanished entry, by the neighbours that it had in its leaf.
class Gap {
 public:
  Gap(KeyTree& keys, Direction direction)
      : keys_(keys),
        direction_(direction),
        leaf_(keys.tree.layout(), keys.cursor.leaf.get()),
        passed_(keys.tree.layout(), keys.cursor.passed.get()),
        slot_(keys.cursor.leaf_slot),
        count_(leaf_.count()) {
    first_ = std::min(slot_, count_);
    while (first_ > 0 && is_equal(keys, leaf_.key(first_ - 1))) --first_;
    end_ = std::min(slot_ + 1, count_);
    while (end_ < count_ && is_equal(keys, leaf_.key(end_))) ++end_;
  }

  Result find(Path& path) {
    bool found = false;
    const Result result = find_neighbour(path, found);
    if (!ok(result) || found) return result;
    // Equals that stood in other leaves are all on one side when the leaf shows where they end.
    const bool behind_equals = end_ < count_ || (first_ == 0 && direction_ == Direction::backward);
    return behind_equals ? place_behind(path) : keys_.tree.find(key(), path);
  }

 private:
  const Byte* key() const { return keys_.cursor.key.get(); }

  // Where an equal entry of this record stood: below 0 before the gap, above 0 behind it, 0 where
  // it was not seen.
  std::int64_t place_of(std::uint32_t recno) const {
    for (std::uint32_t at = first_; at < end_; ++at) {
      if (at != slot_ && leaf_.recno(at) == recno) return std::int64_t{at} - slot_;
    }
    const Cursor& cursor = keys_.cursor;
    const std::uint32_t passed = cursor.passed_holds ? passed_.count() : 0;
    for (std::uint32_t at = 0; at < passed; ++at) {
      if (passed_.recno(at) != recno || !is_equal(keys_, passed_.key(at))) continue;
      return cursor.passed_is_before ? std::int64_t{at} - passed - slot_
                                     : std::int64_t{at} + count_ - slot_ + 1;
    }
    return 0;
  }

  // The first entry of the run that stood behind the gap, else the place behind the last one that
  // stood before it.
  Result find_neighbour(Path& path, bool& found) {
    Path at;
    bool more = false;
    Result result = keys_.tree.find(key(), at);
    if (ok(result)) result = keys_.tree.step_to_entry(at, more);
    for (std::uint64_t steps = 0; ok(result) && more; ++steps) {
      Entry entry{};
      result = keys_.tree.entry_at(at, entry);
      if (!ok(result) || !is_equal(keys_, entry.key)) break;
      const std::int64_t place = place_of(entry.recno);
      if (place != 0) {
        path = at;
        found = true;
        if (place > 0) return Result::ok;
        ++path.leaf().slot;
      }
      if (steps > std::uint64_t{keys_.file.cache.limit()} * keys_.tree.layout().max_keys) {
        return fail(keys_.file.block, Result::page_error, kPosition.detail(2));
      }
      result = keys_.tree.next(at, more);
    }
    return result;
  }

  Result place_behind(Path& path) {
    bool found = false;
    const Result result = keys_.tree.find_last(key(), path, found);
    if (!ok(result)) return result;
    if (!found) return keys_.tree.find(key(), path);
    ++path.leaf().slot;
    return Result::ok;
  }

  static constexpr Operation kPosition{1025};

  KeyTree& keys_;
  const Direction direction_;
  const Page leaf_;
  const Page passed_;
  const std::uint32_t slot_;
  const std::uint32_t count_;
  std::uint32_t first_ = 0;  // the entry's equals in the leaf
  std::uint32_t end_ = 0;
};

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
  std::swap(cursor.leaf, cursor.passed);
  cursor.passed_holds = std::exchange(cursor.leaf_holds, false);
  cursor.passed_is_before = direction == Direction::forward;
}

bool keep_leaf(KeyTree& keys, const Path& path) {
  if (!keys.file.is_shared()) return false;
  keys.cursor.leaf_holds = false;
  keys.cursor.leaf_slot = path.leaf().slot;
  return ok(keys.tree.copy_leaf(path, keys.cursor.leaf.get()));
}

Result locate(KeyTree& keys, Direction direction, bool& at_entry) {
  Cursor& cursor = keys.cursor;
  const Byte* const key = cursor.key.get();
  if (cursor.path_holds) {
    at_entry = true;
    if (!keys.file.is_shared()) return Result::ok;
    const Result result = keys.tree.leads_to(cursor.path, key, cursor.recno, at_entry);
    if (!ok(result) || at_entry) return result;
    cursor.path_holds = false;
  }
  const Result result = find_entry(keys, key, cursor.recno, cursor.path, at_entry);
  if (!ok(result)) return result;
  cursor.path_holds = at_entry;
  if (at_entry) return Result::ok;
  return cursor.leaf_holds ? Gap(keys, direction).find(cursor.path)
                           : keys.tree.find(key, cursor.path);
}

}  // namespace vqdb::index
