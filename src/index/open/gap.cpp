#include "index/open/gap.h"

#include <algorithm>

namespace vqdb::index {
namespace {

constexpr Operation kPosition{1025};

}  // namespace

Result Gap::still_fits(const Path& found, bool& fits) {
  // Nothing before a leaf's first entry is known: behind another one it may be anywhere.
  fits = direction_ == Direction::forward || slot_ > 0 || found.leaf().slot == 0;
  if (!fits) return Result::ok;
  Path at = found;
  const bool was_first = slot_ > 0 && !is_equal(leaf_.key(slot_ - 1));
  Result result = Result::ok;
  if (slot_ > 0 && !was_first) result = step_fits(at, &Tree::previous, slot_ - 1, fits);
  at = found;
  for (std::uint32_t slot = slot_ + 1; ok(result) && fits && slot < count_; ++slot) {
    result = step_fits(at, &Tree::next, slot, fits);
    if (!is_equal(leaf_.key(slot))) return result;
  }
  if (!ok(result) || !fits) return result;
  const PageNumber leaf = at.leaf().page;
  bool more = false;
  result = keys_.tree.next(at, more);
  fits = !more || at.leaf().page != leaf;
  return result;
}

Result Gap::find(Path& path) {
  first_ = std::min(slot_, count_);
  while (first_ > 0 && is_equal(leaf_.key(first_ - 1))) --first_;
  end_ = std::min(slot_ + 1, count_);
  while (end_ < count_ && is_equal(leaf_.key(end_))) ++end_;
  bool found = false;
  const Result result = find_neighbour(path, found);
  if (!ok(result) || found) return result;
  keys_.cursor.passed_holds = false;
  // Equals that stood in other leaves are all on one side when the leaf shows where they end.
  const bool behind_equals = end_ < count_ || direction_ == Direction::backward;
  return behind_equals ? place_behind(path) : keys_.tree.find(key(), path);
}

std::int64_t Gap::place_of(std::uint32_t recno) const {
  for (std::uint32_t at = first_; at < end_; ++at) {
    if (at != slot_ && leaf_.recno(at) == recno) return std::int64_t{at} - slot_;
  }
  const Cursor& cursor = keys_.cursor;
  const std::uint32_t passed = cursor.passed_holds ? passed_.count() : 0;
  for (std::uint32_t at = 0; at < passed; ++at) {
    if (passed_.recno(at) != recno || !is_equal(passed_.key(at))) continue;
    return cursor.passed_is_before ? std::int64_t{at} - passed - slot_
                                   : std::int64_t{at} + count_ - slot_ + 1;
  }
  return 0;
}

Result Gap::step_fits(Path& at, Result (Tree::*move)(Path&, bool&), std::uint32_t slot,
                      bool& fits) const {
  bool more = false;
  Result result = (keys_.tree.*move)(at, more);
  Entry entry{};
  if (ok(result) && more) result = keys_.tree.entry_at(at, entry);
  if (!ok(result)) return result;
  const bool in_run = more && is_equal(entry.key);
  fits = is_equal(leaf_.key(slot)) ? in_run && entry.recno == leaf_.recno(slot) : !in_run;
  return result;
}

Result Gap::find_neighbour(Path& path, bool& found) {
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
    if (!ok(result) || !is_equal(entry.key)) break;
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

Result Gap::place_behind(Path& path) {
  bool found = false;
  const Result result = keys_.tree.find_last(key(), path, found);
  if (!ok(result)) return result;
  if (!found) return keys_.tree.find(key(), path);
  ++path.leaf().slot;
  return Result::ok;
}

}  // namespace vqdb::index
