#include "index/ndx_keys.h"
#include "index/ndx_position.h"
#include "index/ndx_sharing.h"

namespace vqdb::index {
namespace {

constexpr Operation kCurrent{304};
constexpr Operation kFind{309};
constexpr Operation kPrevious{317};
constexpr Operation kNext{320};

enum class Direction : std::uint8_t { forward, backward };

void deliver(const NdxFile& file, void* key, std::uint32_t* recno) {
  if (key != nullptr) std::memcpy(key, file.cursor.key.get(), file.key_length());
  if (recno != nullptr) *recno = file.cursor.recno;
}

// The entry that the cursor's path has come to becomes the position.
Result arrive(NdxFile& file, void* key, std::uint32_t* recno) {
  Entry entry{};
  Cursor& cursor = file.cursor;
  if (const Result result = file.tree.entry_at(cursor.path, entry); !ok(result)) return result;
  remember(file, entry.key, entry.recno);
  cursor.anchor = Cursor::Anchor::entry;
  cursor.state = PositionState::positioned;
  cursor.path_holds = true;
  deliver(file, key, recno);
  return Result::ok;
}

// From the anchor, which is an entry or a gap, to its neighbour.
Result move(NdxFile& file, Direction direction, bool& found) {
  Cursor& cursor = file.cursor;
  bool at_entry = false;
  if (const Result result = locate(file, at_entry); !ok(result)) return result;
  if (direction == Direction::backward) {
    if (cursor.path.leaf().slot == 0) --cursor.leaves_passed;
    return file.tree.previous(cursor.path, found);
  }
  const bool leaves_entry = at_entry && cursor.anchor == Cursor::Anchor::entry;
  const Result result = leaves_entry ? file.tree.next(cursor.path, found)
                                     : file.tree.step_to_entry(cursor.path, found);
  if (cursor.path.leaf().slot == 0) ++cursor.leaves_passed;
  return result;
}

// More leaves in one direction than the file has pages: its pages run in a circle.
bool runs_in_circle(const NdxFile& file) {
  const std::int64_t limit = file.cache.limit();
  return file.cursor.leaves_passed > limit || file.cursor.leaves_passed < -limit;
}

Result step_forward(NdxFile& file, void* key, std::uint32_t* recno) {
  Cursor& cursor = file.cursor;
  if (cursor.anchor == Cursor::Anchor::end) {
    return fail(file.block, Result::index_end, kNext.detail(2));
  }
  const bool from_start =
      cursor.anchor == Cursor::Anchor::none || cursor.anchor == Cursor::Anchor::start;
  bool found = false;
  const Result result =
      from_start ? file.tree.first(cursor.path, found) : move(file, Direction::forward, found);
  if (!ok(result)) return result;
  if (!found) {
    set_anchor(cursor, Cursor::Anchor::end, PositionState::end);
    return fail(file.block, Result::index_end, kNext.detail(3));
  }
  if (runs_in_circle(file)) return fail(file.block, Result::page_error, kNext.detail(4));
  return arrive(file, key, recno);
}

Result step_backward(NdxFile& file, void* key, std::uint32_t* recno) {
  Cursor& cursor = file.cursor;
  if (cursor.anchor == Cursor::Anchor::start) {
    return fail(file.block, Result::index_start, kPrevious.detail(2));
  }
  const bool from_end =
      cursor.anchor == Cursor::Anchor::none || cursor.anchor == Cursor::Anchor::end;
  bool found = false;
  const Result result =
      from_end ? file.tree.last(cursor.path, found) : move(file, Direction::backward, found);
  if (!ok(result)) return result;
  if (!found) {
    set_anchor(cursor, Cursor::Anchor::start, PositionState::start);
    return fail(file.block, Result::index_start, kPrevious.detail(3));
  }
  if (runs_in_circle(file)) return fail(file.block, Result::page_error, kPrevious.detail(4));
  return arrive(file, key, recno);
}

Result find_first(NdxFile& file, const Byte* key, std::uint32_t* recno) {
  Cursor& cursor = file.cursor;
  cursor.path_holds = false;
  bool found = false;
  if (const Result result = file.tree.find(key, cursor.path); !ok(result)) return result;
  if (const Result result = file.tree.step_to_entry(cursor.path, found); !ok(result)) {
    return result;
  }
  if (!found) {
    set_anchor(cursor, Cursor::Anchor::end, PositionState::unset);
    if (recno != nullptr) *recno = 0;
    return fail(file.block, Result::not_found, kFind.detail(3));
  }
  cursor.leaves_passed = 0;
  if (const Result result = arrive(file, nullptr, recno); !ok(result)) return result;
  if (file.tree.order().compare(cursor.key.get(), key, file.key_length()) == 0) return Result::ok;
  cursor.state = PositionState::unset;
  return fail(file.block, Result::not_found, kFind.detail(4));
}

}  // namespace

Result find_record(NdxFile& file, const void* key, std::uint32_t* recno) {
  if (key == nullptr) return fail(file.block, Result::out_of_range, kFind.detail(2));
  return in_bracket(file, [&] { return find_first(file, static_cast<const Byte*>(key), recno); });
}

Result next_key(NdxFile& file, void* key, std::uint32_t* recno) {
  return in_bracket(file, [&] { return step_forward(file, key, recno); });
}

Result previous_key(NdxFile& file, void* key, std::uint32_t* recno) {
  return in_bracket(file, [&] { return step_backward(file, key, recno); });
}

Result current_key(NdxFile& file, void* key, std::uint32_t* recno) {
  switch (file.cursor.state) {
    case PositionState::start:
      return fail(file.block, Result::index_start, kCurrent.detail(2));
    case PositionState::end:
      return fail(file.block, Result::index_end, kCurrent.detail(3));
    case PositionState::unset:
      return fail(file.block, Result::not_found, kCurrent.detail(4));
    case PositionState::positioned:
      break;
  }
  deliver(file, key, recno);
  return Result::ok;
}

void rewind(NdxFile& file) { set_anchor(file.cursor, Cursor::Anchor::start, PositionState::start); }

void forward(NdxFile& file) { set_anchor(file.cursor, Cursor::Anchor::end, PositionState::end); }

}  // namespace vqdb::index
