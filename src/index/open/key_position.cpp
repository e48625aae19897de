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
        count_(leaf_.count()) {}

  Result find(Path& path) {
    first_ = std::min(slot_, count_);
    while (first_ > 0 && is_equal(keys_, leaf_.key(first_ - 1))) --first_;
    end_ = std::min(slot_ + 1, count_);
    while (end_ < count_ && is_equal(keys_, leaf_.key(end_))) ++end_;
    bool found = false;
    const Result result = find_neighbour(path, found);
    if (!ok(result) || found) return result;
    keys_.cursor.passed_holds = false;
    // Equals that stood in other leaves are all on one side when the leaf shows where they end.
    const bool behind_equals = end_ < count_ || direction_ == Direction::backward;
    return behind_equals ? place_behind(path) : keys_.tree.find(key(), path);
  }

  // Whether the entry, which was found again, stands behind the neighbour that it had, and before
  // all that its leaf showed behind it, up to the leaf's end. Elsewhere it has been away, and has
  // come back in front of its equals.
  Result still_fits(const Path& found, bool& fits) {
    // Nothing before a leaf's first entry is known: behind another one it may be anywhere.
    fits = direction_ == Direction::forward || slot_ > 0 || found.leaf().slot == 0;
    if (!fits) return Result::ok;
    Path at = found;
    const bool was_first = slot_ > 0 && !is_equal(keys_, leaf_.key(slot_ - 1));
    Result result = Result::ok;
    if (slot_ > 0 && !was_first) result = step_fits(at, &Tree::previous, slot_ - 1, fits);
    at = found;
    for (std::uint32_t slot = slot_ + 1; ok(result) && fits && slot < count_; ++slot) {
      result = step_fits(at, &Tree::next, slot, fits);
      if (!is_equal(keys_, leaf_.key(slot))) return result;
    }
    if (!ok(result) || !fits) return result;
    const PageNumber leaf = at.leaf().page;
    bool more = false;
    result = keys_.tree.next(at, more);
    fits = !more || at.leaf().page != leaf;
    return result;
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

  bool knows_next_leaf() const {
    return keys_.cursor.passed_holds && !keys_.cursor.passed_is_before && passed_.count() > 0;
  }

  // Whether the entry beside is what the leaf had there; all beyond the run are alike.
  Result step_fits(Path& at, Result (Tree::*move)(Path&, bool&), std::uint32_t slot,
                   bool& fits) const {
    bool more = false;
    Result result = (keys_.tree.*move)(at, more);
    Entry entry{};
    if (ok(result) && more) result = keys_.tree.entry_at(at, entry);
    if (!ok(result)) return result;
    const bool in_run = more && is_equal(keys_, entry.key);
    fits = is_equal(keys_, leaf_.key(slot)) ? in_run && entry.recno == leaf_.recno(slot) : !in_run;
    return result;
  }

  // Who has come back among its equals stands before all that stayed. Going on, the place is
  // before the first entry that stood behind the gap, else behind the last one that stood before
  // it; going back, it is where those that stood behind begin for the last time, as long as nothing
  // follows them that may have stood before.
  Result find_neighbour(Path& path, bool& found) {
    Path at;
    bool more = false;
    Result result = keys_.tree.find(key(), at);
    if (ok(result)) result = keys_.tree.step_to_entry(at, more);
    std::int64_t before = 0;  // place of the entry before this one
    bool was_last_known = false;
    bool was_own = false;  // the entry itself, met again: going back it is left at once
    Path own;
    for (std::uint64_t steps = 0; ok(result) && more; ++steps) {
      Entry entry{};
      result = keys_.tree.entry_at(at, entry);
      if (!ok(result) || !is_equal(keys_, entry.key)) break;
      const std::int64_t place = place_of(entry.recno);
      if (place > 0 && before <= 0) {
        path = was_own && direction_ == Direction::backward ? own : at;
        found = true;
        if (direction_ == Direction::forward) return Result::ok;
      }
      if (place < 0) {
        path = at;
        ++path.leaf().slot;
        found = direction_ == Direction::forward;
      }
      if (place == 0 && before > 0 && !was_last_known) found = false;
      before = place;
      was_own = entry.recno == keys_.cursor.recno;
      if (was_own) own = at;
      was_last_known = knows_next_leaf() && entry.recno == passed_.recno(passed_.count() - 1);
      if (steps > std::uint64_t{keys_.file.cache.limit()} * keys_.tree.layout().max_keys) {
        return fail(keys_.file.block, Result::page_error, kPosition.detail(2));
      }
      result = keys_.tree.next(at, more);
    }
    if (was_own && direction_ == Direction::backward) {
      path = own;
      found = true;
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
  if (at_entry) {
    const Result result = gap.still_fits(cursor.path, at_entry);
    if (!ok(result) || at_entry) return result;
    cursor.path_holds = false;
  }
  cursor.leaves_passed = 0;
  return gap.find(cursor.path);
}

}  // namespace vqdb::index
