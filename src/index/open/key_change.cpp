#include "index/open/key_position.h"
#include "index/open/key_tree.h"

namespace vqdb::index {
namespace {

// What every change refuses at once, with the digits that all of them share.
Result check(const KeyTree& keys, Operation operation, bool has_keys, std::uint32_t recno) {
  if (!has_keys || recno == 0) {
    return fail(keys.file.block, Result::out_of_range, operation.detail(2));
  }
  if (keys.file.is_read_only())
    return fail(keys.file.block, Result::read_only, operation.detail(3));
  return Result::ok;
}

// Whether an entry with the key stands at, or next behind, the place that find() gave.
Result holds_key(KeyTree& keys, Path path, const Byte* key, bool& holds) {
  holds = false;
  bool found = false;
  const Result result = keys.tree.step_to_entry(path, found);
  if (!ok(result) || !found) return result;
  Entry entry{};
  if (const Result read = keys.tree.entry_at(path, entry); !ok(read)) return read;
  holds = compare(keys, entry.key, key) == 0;
  return Result::ok;
}

Result insert_entry(KeyTree& keys, const Byte* key, std::uint32_t recno,
                    std::int32_t duplicate_detail, const Path* place = nullptr) {
  Path found;
  if (place == nullptr) {
    if (const Result result = keys.tree.find(key, found); !ok(result)) return result;
  }
  const Path& path = place != nullptr ? *place : found;
  if (keys.unique) {
    bool holds = false;
    if (const Result result = holds_key(keys, path, key, holds); !ok(result)) return result;
    if (holds) return fail(keys.file.block, Result::duplicate_key, duplicate_detail);
  }
  if (const Result result = keys.tree.insert(path, key, recno); !ok(result)) return result;
  set_anchor(keys.cursor, Cursor::Anchor::entry, PositionState::positioned);
  remember(keys, key, recno);
  return Result::ok;
}

// The entry that follows the removed one becomes the position's anchor.
Result remove_entry(KeyTree& keys, const Byte* key, std::uint32_t recno,
                    std::int32_t missing_detail) {
  Path path;
  bool found = false;
  if (const Result result = find_entry(keys, key, recno, path, found); !ok(result)) return result;
  if (!found) return fail(keys.file.block, Result::not_found, missing_detail);
  Path behind = path;
  bool more = false;
  if (const Result result = keys.tree.next(behind, more); !ok(result)) return result;
  std::array<Byte, kMaxKeyLength> next_key;
  std::uint32_t next_recno = 0;
  bool kept = false;
  if (more) {
    Entry next{};
    if (const Result result = keys.tree.entry_at(behind, next); !ok(result)) return result;
    std::memcpy(next_key.data(), next.key, keys.key_length());
    next_recno = next.recno;
    kept = keep_leaf(keys, behind);
  }
  if (const Result result = keys.tree.remove(path); !ok(result)) return result;
  Cursor& cursor = keys.cursor;
  set_anchor(cursor, more ? Cursor::Anchor::gap : Cursor::Anchor::end, PositionState::unset);
  if (!more) return Result::ok;
  remember(keys, next_key.data(), next_recno);
  cursor.path = path;
  cursor.leaf_holds = kept;
  cursor.path_holds = behind.leaf().page == path.leaf().page;
  return Result::ok;
}

// The new entry goes in before the old one goes out, so that a failure between the two loses no
// record from the index.
Result replace_entry(KeyTree& keys, const Byte* old_key, const Byte* new_key, std::uint32_t recno) {
  const Operation operation = keys.operations.update;
  Path path;
  bool found = false;
  if (const Result result = find_entry(keys, old_key, recno, path, found); !ok(result)) {
    return result;
  }
  if (!found) return fail(keys.file.block, Result::not_found, operation.detail(4));
  if (compare(keys, old_key, new_key) == 0) return Result::ok;
  if (const Result result = insert_entry(keys, new_key, recno, operation.detail(5)); !ok(result)) {
    return result;
  }
  const Result result = remove_entry(keys, old_key, recno, operation.detail(4));
  if (!ok(result)) {
    const std::int32_t detail = keys.file.block.detail;
    static_cast<void>(remove_entry(keys, new_key, recno, operation.detail(4)));
    keys.file.block.detail = detail;
    return result;
  }
  set_anchor(keys.cursor, Cursor::Anchor::entry, PositionState::positioned);
  remember(keys, new_key, recno);
  return Result::ok;
}

template <typename Change>
Result change(KeyTree& keys, Operation operation, bool bracketed, Change work) {
  const auto counted = [&] {
    if (const Result whole = keys.file.check_whole(); !ok(whole)) return whole;
    const Result result = work();
    if (ok(result)) ++keys.changes;
    return result;
  };
  // Outside its lock the tree in memory says nothing of the file.
  if (!bracketed && !keys.file.is_entered()) {
    return fail(keys.file.block, Result::not_locked, operation.detail(6));
  }
  return in_tree(keys, operation, Purpose::changing, counted);
}

}  // namespace

Result put_key(KeyTree& keys, const void* key, std::uint32_t recno, bool bracketed,
               const Path* place) {
  const Operation operation = keys.operations.put;
  if (const Result result = check(keys, operation, has_place(keys, key), recno); !ok(result)) {
    return result;
  }
  return change(keys, operation, bracketed, [&] {
    return insert_entry(keys, static_cast<const Byte*>(key), recno, operation.detail(4), place);
  });
}

Result remove_key(KeyTree& keys, const void* key, std::uint32_t recno, bool bracketed) {
  const Operation operation = keys.operations.remove;
  if (const Result result = check(keys, operation, has_place(keys, key), recno); !ok(result)) {
    return result;
  }
  return change(keys, operation, bracketed, [&] {
    return remove_entry(keys, static_cast<const Byte*>(key), recno, operation.detail(4));
  });
}

Result update_key(KeyTree& keys, const void* old_key, const void* new_key, std::uint32_t recno,
                  bool bracketed) {
  const Operation operation = keys.operations.update;
  const bool has_keys = has_place(keys, old_key) && has_place(keys, new_key);
  if (const Result result = check(keys, operation, has_keys, recno); !ok(result)) return result;
  return change(keys, operation, bracketed, [&] {
    return replace_entry(keys, static_cast<const Byte*>(old_key), static_cast<const Byte*>(new_key),
                         recno);
  });
}

Result holds_entry(KeyTree& keys, const void* key, std::uint32_t recno, bool& holds) {
  return in_tree(keys, keys.operations.find, Purpose::reading, [&] {
    Path path;
    return find_entry(keys, static_cast<const Byte*>(key), recno, path, holds);
  });
}

}  // namespace vqdb::index
