#include "index/open/key_position.h"
#include "index/open/key_tree.h"

namespace vqdb::index {
namespace {

enum class Direction : std::uint8_t { forward, backward };

void deliver(const KeyTree& keys, void* key, std::uint32_t* recno) {
  if (key != nullptr) std::memcpy(key, keys.cursor.key.get(), keys.key_length());
  if (recno != nullptr) *recno = keys.cursor.recno;
}

// The entry that the cursor's path has come to becomes the position.
Result arrive(KeyTree& keys, void* key, std::uint32_t* recno) {
  Entry entry{};
  Cursor& cursor = keys.cursor;
  if (const Result result = keys.tree.entry_at(cursor.path, entry); !ok(result)) return result;
  remember(keys, entry.key, entry.recno);
  cursor.anchor = Cursor::Anchor::entry;
  cursor.state = PositionState::positioned;
  cursor.path_holds = true;
  deliver(keys, key, recno);
  return Result::ok;
}

// From the anchor, which is an entry or a gap, to its neighbour.
Result move(KeyTree& keys, Direction direction, bool& found) {
  Cursor& cursor = keys.cursor;
  bool at_entry = false;
  if (const Result result = locate(keys, at_entry); !ok(result)) return result;
  if (direction == Direction::backward) {
    if (cursor.path.leaf().slot == 0) --cursor.leaves_passed;
    return keys.tree.previous(cursor.path, found);
  }
  const bool leaves_entry = at_entry && cursor.anchor == Cursor::Anchor::entry;
  const Result result = leaves_entry ? keys.tree.next(cursor.path, found)
                                     : keys.tree.step_to_entry(cursor.path, found);
  if (cursor.path.leaf().slot == 0) ++cursor.leaves_passed;
  return result;
}

// More leaves in one direction than the file has pages: its pages run in a circle.
bool runs_in_circle(const KeyTree& keys) {
  const std::int64_t limit = keys.file.cache.limit();
  return keys.cursor.leaves_passed > limit || keys.cursor.leaves_passed < -limit;
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
  if (runs_in_circle(keys))
    return fail(keys.file.block, Result::page_error, keys.operations.next.detail(4));
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
  if (runs_in_circle(keys))
    return fail(keys.file.block, Result::page_error, keys.operations.previous.detail(4));
  return arrive(keys, key, recno);
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
  if (const Result result = arrive(keys, nullptr, recno); !ok(result)) return result;
  if (compare(keys, cursor.key.get(), key) == 0) return Result::ok;
  cursor.state = PositionState::unset;
  return fail(keys.file.block, Result::not_found, keys.operations.find.detail(4));
}

}  // namespace

Result find_record(KeyTree& keys, const void* key, std::uint32_t* recno) {
  if (key == nullptr)
    return fail(keys.file.block, Result::out_of_range, keys.operations.find.detail(2));
  return in_tree(keys, keys.operations.find,
                 [&] { return find_first(keys, static_cast<const Byte*>(key), recno); });
}

Result next_key(KeyTree& keys, void* key, std::uint32_t* recno) {
  return in_tree(keys, keys.operations.next, [&] { return step_forward(keys, key, recno); });
}

Result previous_key(KeyTree& keys, void* key, std::uint32_t* recno) {
  return in_tree(keys, keys.operations.previous, [&] { return step_backward(keys, key, recno); });
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
  deliver(keys, key, recno);
  return Result::ok;
}

void rewind(KeyTree& keys) { set_anchor(keys.cursor, Cursor::Anchor::start, PositionState::start); }

void forward(KeyTree& keys) { set_anchor(keys.cursor, Cursor::Anchor::end, PositionState::end); }

}  // namespace vqdb::index
