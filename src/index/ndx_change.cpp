#include "index/ndx_keys.h"
#include "index/ndx_position.h"
#include "index/ndx_sharing.h"

namespace vqdb::index {
namespace {

constexpr Operation kPut{316};
constexpr Operation kRemove{321};
constexpr Operation kUpdate{331};

// What every change refuses at once, with the digits that all of them share.
Result check(const NdxFile& file, Operation operation, bool has_keys, std::uint32_t recno) {
  if (!has_keys || recno == 0) {
    return fail(file.block, Result::out_of_range, operation.detail(2));
  }
  if (file.is_read_only()) return fail(file.block, Result::read_only, operation.detail(3));
  return Result::ok;
}

int compare(const NdxFile& file, const Byte* a, const Byte* b) {
  return file.tree.order().compare(a, b, file.key_length());
}

// Whether an entry with the key stands at, or next behind, the place that find() gave.
Result holds_key(NdxFile& file, Path path, const Byte* key, bool& holds) {
  holds = false;
  bool found = false;
  const Result result = file.tree.step_to_entry(path, found);
  if (!ok(result) || !found) return result;
  Entry entry{};
  if (const Result read = file.tree.entry_at(path, entry); !ok(read)) return read;
  holds = compare(file, entry.key, key) == 0;
  return Result::ok;
}

Result insert_entry(NdxFile& file, const Byte* key, std::uint32_t recno,
                    std::int32_t duplicate_detail) {
  Path path;
  if (const Result result = file.tree.find(key, path); !ok(result)) return result;
  if (file.unique != 0) {
    bool holds = false;
    if (const Result result = holds_key(file, path, key, holds); !ok(result)) return result;
    if (holds) return fail(file.block, Result::duplicate_key, duplicate_detail);
  }
  if (const Result result = file.tree.insert(path, key, recno); !ok(result)) return result;
  set_anchor(file.cursor, Cursor::Anchor::entry, PositionState::positioned);
  remember(file, key, recno);
  return Result::ok;
}

// The entry that follows the removed one becomes the position's anchor.
Result remove_entry(NdxFile& file, const Byte* key, std::uint32_t recno,
                    std::int32_t missing_detail) {
  Path path;
  bool found = false;
  if (const Result result = find_entry(file, key, recno, path, found); !ok(result)) return result;
  if (!found) return fail(file.block, Result::not_found, missing_detail);
  Path behind = path;
  bool more = false;
  if (const Result result = file.tree.next(behind, more); !ok(result)) return result;
  std::array<Byte, kMaxKeyLength> next_key;
  std::uint32_t next_recno = 0;
  if (more) {
    Entry next{};
    if (const Result result = file.tree.entry_at(behind, next); !ok(result)) return result;
    std::memcpy(next_key.data(), next.key, file.key_length());
    next_recno = next.recno;
  }
  if (const Result result = file.tree.remove(path); !ok(result)) return result;
  Cursor& cursor = file.cursor;
  set_anchor(cursor, more ? Cursor::Anchor::gap : Cursor::Anchor::end, PositionState::unset);
  if (!more) return Result::ok;
  remember(file, next_key.data(), next_recno);
  cursor.path = path;
  cursor.path_holds = behind.leaf().page == path.leaf().page;
  return Result::ok;
}

// The new entry goes in before the old one goes out, so that a failure between the two loses no
// record from the index.
Result replace_entry(NdxFile& file, const Byte* old_key, const Byte* new_key, std::uint32_t recno) {
  Path path;
  bool found = false;
  if (const Result result = find_entry(file, old_key, recno, path, found); !ok(result)) {
    return result;
  }
  if (!found) return fail(file.block, Result::not_found, kUpdate.detail(4));
  if (compare(file, old_key, new_key) == 0) return Result::ok;
  if (const Result result = insert_entry(file, new_key, recno, kUpdate.detail(5)); !ok(result)) {
    return result;
  }
  const Result result = remove_entry(file, old_key, recno, kUpdate.detail(4));
  if (!ok(result)) {
    const std::int32_t detail = file.block->detail;
    static_cast<void>(remove_entry(file, new_key, recno, kUpdate.detail(4)));
    file.block->detail = detail;
    return result;
  }
  set_anchor(file.cursor, Cursor::Anchor::entry, PositionState::positioned);
  remember(file, new_key, recno);
  return Result::ok;
}

template <typename Change>
Result change(NdxFile& file, bool bracketed, std::int32_t outside_detail, Change work) {
  const auto counted = [&] {
    const Result result = work();
    if (ok(result)) ++file.changes;
    return result;
  };
  if (bracketed) return in_bracket(file, counted);
  // Outside its lock the tree in memory says nothing of the file.
  if (file.is_shared() && file.brackets == 0) {
    return fail(file.block, Result::not_locked, outside_detail);
  }
  return counted();
}

}  // namespace

Result put_key(NdxFile& file, const void* key, std::uint32_t recno, bool bracketed) {
  if (const Result result = check(file, kPut, key != nullptr, recno); !ok(result)) return result;
  return change(file, bracketed, kPut.detail(5), [&] {
    return insert_entry(file, static_cast<const Byte*>(key), recno, kPut.detail(4));
  });
}

Result remove_key(NdxFile& file, const void* key, std::uint32_t recno, bool bracketed) {
  if (const Result result = check(file, kRemove, key != nullptr, recno); !ok(result)) {
    return result;
  }
  return change(file, bracketed, kRemove.detail(5), [&] {
    return remove_entry(file, static_cast<const Byte*>(key), recno, kRemove.detail(4));
  });
}

Result update_key(NdxFile& file, const void* old_key, const void* new_key, std::uint32_t recno,
                  bool bracketed) {
  const bool has_keys = old_key != nullptr && new_key != nullptr;
  if (const Result result = check(file, kUpdate, has_keys, recno); !ok(result)) return result;
  return change(file, bracketed, kUpdate.detail(6), [&] {
    return replace_entry(file, static_cast<const Byte*>(old_key), static_cast<const Byte*>(new_key),
                         recno);
  });
}

Result holds_entry(NdxFile& file, const void* key, std::uint32_t recno, bool& holds) {
  return in_bracket(file, [&] {
    Path path;
    return find_entry(file, static_cast<const Byte*>(key), recno, path, holds);
  });
}

}  // namespace vqdb::index
