#include <algorithm>

#include "index/open/key_position.h"
#include "index/open/key_tree.h"

namespace vqdb::index {
namespace {

// After so many steps at once whoever waits to change a shared file comes first.
constexpr std::uint32_t kStepsAtOnce = 256;

void deliver(const KeyTree& keys, const Entry& entry, void* key, std::uint32_t* recno) {
  if (key != nullptr) copy_short(key, entry.key, keys.key_length());
  if (recno != nullptr) *recno = entry.recno;
}

// The entry that the cursor's path has come to becomes the position.
Result arrive(KeyTree& keys, void* key, std::uint32_t* recno) {
  Entry entry{};
  Cursor& cursor = keys.cursor;
  if (!keys.tree.step_in_leaf(cursor.path, 0, entry)) {
    if (const Result result = keys.tree.entry_at(cursor.path, entry); !ok(result)) return result;
  }
  remember(keys, entry.key, entry.recno);
  cursor.anchor = Cursor::Anchor::entry;
  cursor.state = PositionState::positioned;
  cursor.path_holds = true;
  cursor.leaf_holds = keep_leaf(keys, cursor.path);
  deliver(keys, entry, key, recno);
  return Result::ok;
}

// More leaves in one direction than the file has pages: its pages run in a circle. In a shared file
// a walk may pass a leaf twice, when others remove what it stands at.
bool runs_in_circle(const KeyTree& keys, std::int64_t leaves_passed) {
  const std::int64_t limit =
      std::int64_t{keys.file.cache.limit()} * (keys.file.is_shared() ? 2 : 1);
  return leaves_passed > limit || leaves_passed < -limit;
}

Result check_circle(const KeyTree& keys, Direction direction) {
  if (!runs_in_circle(keys, keys.cursor.leaves_passed)) return Result::ok;
  const Operation operation =
      direction == Direction::forward ? keys.operations.next : keys.operations.previous;
  return fail(keys.file.block, Result::page_error, operation.detail(4));
}

// From the anchor, which is an entry or a gap, to its neighbour.
Result move(KeyTree& keys, Direction direction, bool& found) {
  Cursor& cursor = keys.cursor;
  bool at_entry = false;
  if (const Result result = locate(keys, direction, at_entry); !ok(result)) return result;
  const Path::Step from = cursor.path.leaf();
  Result result = Result::ok;
  std::uint32_t within = from.slot;  // where a step within the leaf comes to
  if (direction == Direction::backward) {
    --within;
    result = keys.tree.previous(cursor.path, found);
  } else if (at_entry && cursor.anchor == Cursor::Anchor::entry) {
    ++within;
    result = keys.tree.next(cursor.path, found);
  } else {
    result = keys.tree.step_to_entry(cursor.path, found);
  }
  if (!ok(result) || !found) return result;
  const Path::Step to = cursor.path.leaf();
  if (to.page != from.page || to.slot != within) {
    keep_passed(keys, direction);
    cursor.leaves_passed += places(direction);
  }
  return check_circle(keys, direction);
}

Result step_forward(KeyTree& keys, void* key, std::uint32_t* recno) {
  Cursor& cursor = keys.cursor;
  if (cursor.anchor == Cursor::Anchor::end) {
    return fail(keys.file.block, Result::index_end, keys.operations.next.detail(2));
  }
  const bool from_start =
      cursor.anchor == Cursor::Anchor::none || cursor.anchor == Cursor::Anchor::start;
  bool found = false;
  const Result result =
      from_start ? keys.tree.first(cursor.path, found) : move(keys, Direction::forward, found);
  if (!ok(result)) return result;
  if (!found) {
    set_anchor(cursor, Cursor::Anchor::end, PositionState::end);
    return fail(keys.file.block, Result::index_end, keys.operations.next.detail(3));
  }
  return arrive(keys, key, recno);
}

Result step_backward(KeyTree& keys, void* key, std::uint32_t* recno) {
  Cursor& cursor = keys.cursor;
  if (cursor.anchor == Cursor::Anchor::start) {
    return fail(keys.file.block, Result::index_start, keys.operations.previous.detail(2));
  }
  const bool from_end =
      cursor.anchor == Cursor::Anchor::none || cursor.anchor == Cursor::Anchor::end;
  bool found = false;
  const Result result =
      from_end ? keys.tree.last(cursor.path, found) : move(keys, Direction::backward, found);
  if (!ok(result)) return result;
  if (!found) {
    set_anchor(cursor, Cursor::Anchor::start, PositionState::start);
    return fail(keys.file.block, Result::index_start, keys.operations.previous.detail(3));
  }
  return arrive(keys, key, recno);
}

// Whether the position is an entry whose leaf is known. Nobody else changes the tree of an
// exclusive index, so that neither lock nor the way from the root is needed to go on from there.
bool stands_in_leaf(const KeyTree& keys) {
  const Cursor& cursor = keys.cursor;
  return cursor.path_holds && cursor.anchor == Cursor::Anchor::entry && !keys.gone &&
         !keys.file.is_shared();
}

bool step_beside(KeyTree& keys, Direction direction, Entry& entry) {
  Cursor& cursor = keys.cursor;
  const std::int64_t leaves_passed = cursor.leaves_passed + places(direction);
  if (runs_in_circle(keys, leaves_passed) ||
      !keys.tree.step_beside(cursor.path, places(direction), entry)) {
    return false;
  }
  cursor.leaves_passed = leaves_passed;
  return true;
}

// The usual step, to the next entry of the leaf that the position lies in, or of the leaf beside.
bool step_nearby(KeyTree& keys, Direction direction, void* key, std::uint32_t* recno) {
  if (!stands_in_leaf(keys)) return false;
  Cursor& cursor = keys.cursor;
  Entry entry{};
  if (!keys.tree.step_in_leaf(cursor.path, places(direction), entry) &&
      !step_beside(keys, direction, entry)) {
    return false;
  }
  remember(keys, entry.key, entry.recno);
  cursor.state = PositionState::positioned;
  deliver(keys, entry, key, recno);
  return true;
}

// Any other step.
[[gnu::noinline]] Result step_anywhere(KeyTree& keys, Direction direction, void* key,
                                       std::uint32_t* recno) {
  const bool forward = direction == Direction::forward;
  return in_tree(
      keys, forward ? keys.operations.next : keys.operations.previous, Purpose::reading,
      [&] { return forward ? step_forward(keys, key, recno) : step_backward(keys, key, recno); });
}

// So many usual steps, as far as the leaf goes.
std::uint32_t walk_in_leaf(KeyTree& keys, std::uint32_t most, Byte* key, std::uint32_t* recnos) {
  if (!stands_in_leaf(keys)) return 0;
  Cursor& cursor = keys.cursor;
  const std::uint32_t count = keys.tree.copy_in_leaf(cursor.path, most, key, recnos);
  if (count == 0) return 0;
  remember(keys, key + (count - 1) * keys.key_length(), recnos[count - 1]);
  cursor.state = PositionState::positioned;
  return count;
}

// Goes on to where `end` entries are delivered.
Result walk(KeyTree& keys, std::uint32_t end, Byte* key, std::uint32_t* recnos,
            std::uint32_t& got) {
  const std::size_t length = keys.key_length();
  while (got < end) {
    got += walk_in_leaf(keys, end - got, key + got * length, recnos + got);
    if (got == end) break;
    if (!step_nearby(keys, Direction::forward, key + got * length, recnos + got)) {
      const Result result = step_forward(keys, key + got * length, recnos + got);
      if (!ok(result)) return result;
    }
    ++got;
  }
  return Result::ok;
}

Result find_first(KeyTree& keys, const Byte* key, std::uint32_t* recno) {
  Cursor& cursor = keys.cursor;
  cursor.path_holds = false;
  bool found = false;
  if (const Result result = keys.tree.find(key, cursor.path); !ok(result)) return result;
  if (const Result result = keys.tree.step_to_entry(cursor.path, found); !ok(result)) {
    return result;
  }
  if (!found) {
    set_anchor(cursor, Cursor::Anchor::end, PositionState::unset);
    if (recno != nullptr) *recno = 0;
    return fail(keys.file.block, Result::not_found, keys.operations.find.detail(3));
  }
  cursor.leaves_passed = 0;
  cursor.passed_holds = false;
  if (const Result result = arrive(keys, nullptr, recno); !ok(result)) return result;
  if (compare(keys, cursor.key.get(), key) == 0) return Result::ok;
  cursor.state = PositionState::unset;
  return fail(keys.file.block, Result::not_found, keys.operations.find.detail(4));
}

// Seeks a key by itself that its leaf did not tell of, or at which the position is to be.
Result complete(KeyTree& keys, const Byte* key, bool moves, std::uint32_t& recno) {
  if (!has_place(keys, key)) {
    return fail(keys.file.block, Result::out_of_range, keys.operations.find.detail(2));
  }
  if (recno != 0 && !moves) return Result::ok;
  const Result result = find_first(keys, key, &recno);
  if (result != Result::not_found) return result;
  recno = 0;
  return Result::ok;
}

Result find_each(KeyTree& keys, const Byte* wanted, std::uint32_t count, std::uint32_t* recnos,
                 std::uint32_t& found) {
  const std::size_t length = keys.key_length();
  found = 0;
  for (std::uint32_t done = 0; done < count;) {
    const std::uint32_t group = std::min(count - done, Tree::kGroup);
    Result result = keys.tree.find_group(wanted + done * length, group, recnos + done);
    for (const std::uint32_t end = done + group; ok(result) && done < end; ++done) {
      result = complete(keys, wanted + done * length, done + 1 == count, recnos[done]);
      found += ok(result) && recnos[done] != 0 ? 1 : 0;
    }
    if (!ok(result)) return result;
  }
  return Result::ok;
}

}  // namespace

Result check_language(KeyTree& keys, bool descending, std::int32_t detail) {
  VqBlock& block = keys.file.block;
  const KeyOrder* const mine = &keys.tree.order();
  const KeyOrder* const texts[] = {&key_order(KeyKind::text, descending),
                                   &key_order(KeyKind::collated_text, descending)};
  if (mine != texts[0] && mine != texts[1]) return Result::ok;
  const std::int32_t before = block.detail;
  bool fits = true;
  bool fits_other = false;
  Result result = keys.tree.root_ascends(*mine, fits);
  if (ok(result) && !fits) {
    result = keys.tree.root_ascends(*texts[mine == texts[0] ? 1 : 0], fits_other);
  }
  if (ok(result) && !fits && fits_other) return fail(block, Result::mismatch, detail);
  block.detail = before;
  return Result::ok;
}

Result find_record(KeyTree& keys, const void* key, std::uint32_t* recno) {
  if (!has_place(keys, key)) {
    return fail(keys.file.block, Result::out_of_range, keys.operations.find.detail(2));
  }
  return in_tree(keys, keys.operations.find, Purpose::reading,
                 [&] { return find_first(keys, static_cast<const Byte*>(key), recno); });
}

Result find_records(KeyTree& keys, const void* wanted, std::uint32_t count, std::uint32_t* recnos,
                    std::uint32_t& found) {
  if (count == 0) return Result::ok;
  return in_tree(keys, keys.operations.find, Purpose::reading, [&] {
    return find_each(keys, static_cast<const Byte*>(wanted), count, recnos, found);
  });
}

Result next_key(KeyTree& keys, void* key, std::uint32_t* recno) {
  return step_nearby(keys, Direction::forward, key, recno)
             ? Result::ok
             : step_anywhere(keys, Direction::forward, key, recno);
}

Result previous_key(KeyTree& keys, void* key, std::uint32_t* recno) {
  return step_nearby(keys, Direction::backward, key, recno)
             ? Result::ok
             : step_anywhere(keys, Direction::backward, key, recno);
}

Result next_keys(KeyTree& keys, std::uint32_t count, void* key, std::uint32_t* recnos,
                 std::uint32_t& got) {
  Result result = Result::ok;
  for (got = 0; ok(result) && got < count;) {
    const std::uint32_t end = got + std::min(count - got, kStepsAtOnce);
    result = in_tree(keys, keys.operations.next, Purpose::reading,
                     [&] { return walk(keys, end, static_cast<Byte*>(key), recnos, got); });
  }
  return result;
}

Result current_key(KeyTree& keys, void* key, std::uint32_t* recno) {
  switch (keys.cursor.state) {
    case PositionState::start:
      return fail(keys.file.block, Result::index_start, keys.operations.current.detail(2));
    case PositionState::end:
      return fail(keys.file.block, Result::index_end, keys.operations.current.detail(3));
    case PositionState::unset:
      return fail(keys.file.block, Result::not_found, keys.operations.current.detail(4));
    case PositionState::positioned:
      break;
  }
  deliver(keys, {keys.cursor.key.get(), keys.cursor.recno}, key, recno);
  return Result::ok;
}

void rewind(KeyTree& keys) { set_anchor(keys.cursor, Cursor::Anchor::start, PositionState::start); }

void forward(KeyTree& keys) { set_anchor(keys.cursor, Cursor::Anchor::end, PositionState::end); }

}  // namespace vqdb::index
