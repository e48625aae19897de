#include "api/updates.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "api/first_failure.h"
#include "api/group.h"
#include "api/index_kinds.h"
#include "api/record_keys.h"
#include "table/locks.h"
#include "table/records.h"

namespace vqdb::api {
namespace {

constexpr Operation kAppend{620};
constexpr Operation kUpdate{621};
constexpr Operation kFlushMember{634};

// A key change always runs inside the index's own refresh and release: in a shared mode nobody
// else has brought the tree up to date, and in an exclusive one they cost nothing.
constexpr bool kBracketed = true;

using KeyBuffers = std::vector<KeyBuffer, PlatformAllocator<KeyBuffer>>;

// Whether changes go under locks: the table is shared, and its scheme has any.
bool locks_changes(const table::Table& table) {
  return (table::open_mode_of(table) & open_mode::kShared) != 0 &&
         table::has_lock_operations(table);
}

bool is_read_only(const table::Table& table) {
  return (table::open_mode_of(table) & open_mode::kReadOnly) != 0;
}

// The lock of a record for the time of one change, unless the host holds it already.
class RecordLock {
 public:
  RecordLock(table::Table& table, std::uint32_t recno) : table_(table), recno_(recno) {}

  Result take() {
    if (!locks_changes(table_) || ok(table::record_lock_status(table_, recno_))) return Result::ok;
    const Result result = table::lock_record(table_, recno_);
    taken_ = ok(result);
    return result;
  }

  // Lets go; the change's own failure wins over that of the unlock.
  Result release_after(Result change) {
    FirstFailure failure(table::block_of(table_));
    failure.note(change);
    if (taken_) failure.note(table::pop_lock(table_));
    return failure.result();
  }

 private:
  table::Table& table_;
  std::uint32_t recno_;
  bool taken_ = false;
};

Result insert_keys(Database& database, const void* record, std::uint32_t recno, KeyBuffer& key) {
  VqBlock& block = database.owner_block();
  for (Member& member : database.members) {
    if (!member.carries_keys()) continue;
    bool member_has_it = false;
    Result result = belongs(block, member, record, member_has_it);
    if (ok(result) && !member_has_it) continue;
    if (ok(result)) result = build_key(block, member, record, key);
    if (!ok(result)) return result;
    if (member.driver().putkey == nullptr) return Result::no_driver;
    result = member.driver().putkey(*member.index, key.bytes.data(), recno, kBracketed);
    // A unique index may hold the key already; the record stays.
    if (!ok(result) && result != Result::duplicate_key) return result;
  }
  return Result::ok;
}

// One index's side of an update: the old key goes, the new one comes.
Result move_key(VqBlock& block, Member& member, std::uint32_t recno, const Byte* old_record,
                const Byte* new_record, KeyBuffer& old_key, KeyBuffer& new_key) {
  bool had = false;
  bool has = false;
  Result result = belongs(block, member, old_record, had);
  if (ok(result) && had) result = build_key(block, member, old_record, old_key);
  if (ok(result)) result = belongs(block, member, new_record, has);
  if (ok(result) && has) result = build_key(block, member, new_record, new_key);
  if (!ok(result)) return result;
  if (had && has && old_key.bytes == new_key.bytes) return Result::ok;

  const index::Driver& driver = member.driver();
  if (driver.rmkey == nullptr || driver.putkey == nullptr) return Result::no_driver;
  if (had) {
    result = driver.rmkey(*member.index, old_key.bytes.data(), recno, kBracketed);
    if (!ok(result) && result != Result::not_found) return result;
  }
  return has ? driver.putkey(*member.index, new_key.bytes.data(), recno, kBracketed) : Result::ok;
}

Result update_with_keys(Database& database, std::uint32_t recno, const void* record) {
  VqBlock& block = database.owner_block();
  const std::size_t length = table::record_length(*database.table);
  const bool incomplete = fields_only(block);
  const platform::Bytes records = platform::allocate_bytes(incomplete ? 2 * length : length);
  if (records == nullptr) return fail(block, Result::no_memory, kUpdate.detail(1));
  KeyBuffers keys;
  if (!has_memory([&] { keys.resize(2); })) {
    return fail(block, Result::no_memory, kUpdate.detail(2));
  }
  Byte* const old_record = records.get();
  const Result read = table::reread_whole_record(*database.table, recno, old_record);
  if (!ok(read)) return read;
  if (const Result result = table::update_record(*database.table, recno, record); !ok(result)) {
    return result;
  }
  const auto* new_record = static_cast<const Byte*>(record);
  if (incomplete) {
    complete_record(record, length, old_record + length);
    new_record = old_record + length;
  }
  for (Member& member : database.members) {
    if (!member.carries_keys()) continue;
    const Result result = move_key(block, member, recno, old_record, new_record, keys[0], keys[1]);
    if (!ok(result)) return result;
  }
  return Result::ok;
}

}  // namespace

Result append_record(Database& database, const void* record, std::uint32_t& recno) {
  VqBlock& block = database.owner_block();
  table::Table& table = *database.table;
  const bool with_keys = !database.members.empty();
  const std::size_t length = table::record_length(table);
  KeyBuffers key;
  platform::Bytes whole;
  if (with_keys) {
    const bool complete = !fields_only(block);
    if (!complete) whole = platform::allocate_bytes(length);
    if ((!complete && whole == nullptr) || !has_memory([&] { key.resize(1); })) {
      return fail(block, Result::no_memory, kAppend.detail(1));
    }
  }
  // Held until the last key is in, so that no other appender comes between record and keys. The
  // table's own append finds the lock held and leaves it.
  const bool lock = with_keys && locks_changes(table) && !is_read_only(table) &&
                    !table::holds_any_lock(table) && !table::holds_append_lock(table);
  if (lock) {
    block.record_number = -1;
    if (const Result result = table::lock_append(table); !ok(result)) return result;
  }
  FirstFailure failure(block);
  failure.note(table::append_record(table, record));
  if (ok(failure.result())) {
    recno = static_cast<std::uint32_t>(block.record_number);
    if (with_keys) {
      if (whole != nullptr) complete_record(record, length, whole.get());
      const void* const full = whole != nullptr ? whole.get() : record;
      failure.note(insert_keys(database, full, recno, key.front()));
    }
  }
  if (lock) failure.note(table::unlock_append(table));
  return failure.result();
}

Result update_record(Database& database, std::uint32_t recno, const void* record) {
  RecordLock lock(*database.table, recno);
  if (const Result result = lock.take(); !ok(result)) return result;
  return lock.release_after(database.members.empty()
                                ? table::update_record(*database.table, recno, record)
                                : update_with_keys(database, recno, record));
}

Result delete_record(Database& database, std::uint32_t recno) {
  RecordLock lock(*database.table, recno);
  if (const Result result = lock.take(); !ok(result)) return result;
  return lock.release_after(table::delete_record(*database.table, recno));
}

Result recall_record(Database& database, std::uint32_t recno) {
  RecordLock lock(*database.table, recno);
  if (const Result result = lock.take(); !ok(result)) return result;
  return lock.release_after(table::recall_record(*database.table, recno));
}

Result flush_member(const VqMember& copy) {
  Database* const owner = owner_of(copy, kFlushMember.detail(0));
  if (owner == nullptr) return Result::bad_handle;
  if (copy.kind == member_kind::kTable) return table::flush(*owner->table);
  if ((copy.kind & member_kind::kMemo) != 0) return Result::ok;
  const bool is_index = kind_of_file(copy.kind) != nullptr || kind_of_tag(copy.kind) != nullptr;
  if (!is_index) return fail(owner->block, Result::not_allowed, kFlushMember.detail(1));
  const Member* const member = member_of(*owner, copy);
  if (member == nullptr) return fail(owner->block, Result::bad_handle, kFlushMember.detail(0));
  const Member& file = member->is_tag() ? *member->file : *member;
  const auto flush_index = file.driver().flush;
  return flush_index != nullptr ? flush_index(*file.index) : Result::no_driver;
}

Result flush(Database& database) {
  FirstFailure failure(database.owner_block());
  failure.note(table::flush(*database.table));
  for (const Member& member : database.members) {
    if (member.is_tag()) continue;
    const auto flush_index = member.driver().flush;
    failure.note(flush_index != nullptr ? flush_index(*member.index) : Result::no_driver);
  }
  return failure.result();
}

}  // namespace vqdb::api
