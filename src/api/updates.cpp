#include "api/updates.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "api/entered_files.h"
#include "api/first_failure.h"
#include "api/follow_tags.h"
#include "api/group.h"
#include "api/index_kinds.h"
#include "api/key_moves.h"
#include "api/new_keys.h"
#include "api/record_keys.h"
#include "memo/memo.h"
#include "table/locks.h"
#include "table/records.h"

namespace vqdb::api {
namespace {

constexpr Operation kAppend{620};
constexpr Operation kUpdate{621};
constexpr Operation kFlushMember{634};

bool is_shared(const table::Table& table) {
  return (table::open_mode_of(table) & open_mode::kShared) != 0;
}

// Whether changes go under locks: the table is shared, and its scheme has any.
bool locks_changes(const table::Table& table) {
  return is_shared(table) && table::has_lock_operations(table);
}

bool is_read_only(const table::Table& table) {
  return (table::open_mode_of(table) & open_mode::kReadOnly) != 0;
}

// The lock of a record for the time of one change, unless the host holds it already.
class RecordLock {
 public:
  RecordLock(table::Table& table, std::uint32_t recno) : table_(table), recno_(recno) {}
  // Where memory ran out on the way.
  ~RecordLock() { (void)release_after(Result::ok); }
  RecordLock(const RecordLock&) = delete;
  RecordLock& operator=(const RecordLock&) = delete;

  Result take() {
    if (!locks_changes(table_) || table::may_change_record(table_, recno_)) return Result::ok;
    const Result result = table::lock_record(table_, recno_);
    taken_ = ok(result);
    return result;
  }

  // Lets go; the change's own failure wins over that of the unlock.
  Result release_after(Result change) {
    FirstFailure failure(table::block_of(table_));
    failure.note(change);
    if (std::exchange(taken_, false)) failure.note(table::pop_lock(table_));
    return failure.result();
  }

 private:
  table::Table& table_;
  std::uint32_t recno_;
  bool taken_ = false;
};

// Appends under the append lock, which is held until the last key is in, so that no other appender
// comes between record and keys. The table's own append finds the lock held and leaves it.
template <typename InsertKeys>
Result append_and_insert(Database& database, const void* record, std::uint32_t& recno,
                         InsertKeys insert) {
  VqBlock& block = database.owner_block();
  table::Table& table = *database.table;
  const bool lock =
      locks_changes(table) && !table::holds_any_lock(table) && !table::holds_append_lock(table);
  if (lock) {
    block.record_number = -1;
    if (const Result result = table::lock_append(table); !ok(result)) return result;
  }
  FirstFailure failure(block);
  failure.note(table::append_record(table, record));
  if (ok(failure.result())) {
    recno = static_cast<std::uint32_t>(block.record_number);
    failure.note(insert());
  }
  if (lock) failure.note(table::unlock_append(table));
  return failure.result();
}

// A change of one record and of the keys that it moves.
class RecordChange {
 public:
  RecordChange(Database& database, std::uint32_t recno)
      : database_(database), recno_(recno), files_(database) {}

  // Details 6211 and 6212.
  Result start();
  Byte* old_record() { return records_.get(); }
  Byte* new_record() { return records_.get() + table::record_length(*database_.table); }
  // Reads the old record from the file.
  Result read_old();
  // With `flag_only` the new record differs in the deletion flag alone. `write` is the table's
  // change.
  template <typename Write>
  Result finish(bool flag_only, Write write);

 private:
  Result move_keys();

  Database& database_;
  const std::uint32_t recno_;
  platform::Bytes records_;
  KeyMoves moves_;
  EnteredFiles files_;
};

Result RecordChange::start() {
  VqBlock& block = database_.owner_block();
  records_ = platform::allocate_bytes(2 * std::size_t{table::record_length(*database_.table)});
  if (records_ == nullptr) return fail(block, Result::no_memory, kUpdate.detail(1));
  if (!has_memory([&] { moves_.reserve(database_.members.size()); })) {
    return fail(block, Result::no_memory, kUpdate.detail(2));
  }
  return Result::ok;
}

Result RecordChange::read_old() {
  // Where no lock keeps others from the record, the files do.
  if (is_shared(*database_.table) && !locks_changes(*database_.table)) {
    files_.want_all();
    Result result = files_.enter();
    if (ok(result)) result = follow_tags(database_);
    if (!ok(result)) return result;
  }
  return table::reread_whole_record(*database_.table, recno_, old_record());
}

template <typename Write>
Result RecordChange::finish(bool flag_only, Write write) {
  Result result = plan_moves(database_, old_record(), new_record(), flag_only, moves_);
  if (result == Result::no_memory) {
    result = fail(database_.block, result, kUpdate.detail(2));
  }
  if (ok(result)) {
    for (const KeyMove& move : moves_) files_.want(*move.member);
    result = files_.enter();
  }
  if (ok(result)) result = write();
  if (ok(result)) result = move_keys();
  return files_.leave_after(result);
}

Result RecordChange::move_keys() {
  for (const KeyMove& move : moves_) {
    const Result result = carry_out(database_.owner_block(), move, recno_);
    if (!ok(result) && !is_dropped(*move.member, result)) return result;
  }
  return Result::ok;
}

Result update_with_keys(Database& database, std::uint32_t recno, const void* record) {
  RecordChange change(database, recno);
  Result result = change.start();
  if (ok(result)) result = change.read_old();
  if (!ok(result)) return result;
  const std::size_t length = table::record_length(*database.table);
  if (fields_only(database.owner_block())) {
    complete_record(record, length, change.new_record());
  } else {
    std::memcpy(change.new_record(), record, length);
  }
  return change.finish(false, [&] { return table::update_record(*database.table, recno, record); });
}

// Sets or clears the deletion mark; the members that read it follow.
Result set_flag(Database& database, std::uint32_t recno, char flag,
                Result (*write)(table::Table&, std::uint32_t)) {
  table::Table& table = *database.table;
  // Without a lock on the table a tag that reads the flag may come any time.
  const bool may_come = is_shared(table) && !locks_changes(table) && has_tagged_files(database);
  const bool moves_keys = !is_read_only(table) &&
                          (may_come || std::ranges::any_of(database.members, &Member::reads_flag));
  if (!moves_keys) return write(table, recno);
  RecordChange change(database, recno);
  Result result = change.start();
  if (ok(result)) result = change.read_old();
  if (!ok(result)) return result;
  std::memcpy(change.new_record(), change.old_record(), table::record_length(table));
  *change.new_record() = static_cast<Byte>(flag);
  return change.finish(true, [&] { return write(table, recno); });
}

// Changes a record under its lock.
template <typename Change>
Result under_lock(Database& database, std::uint32_t recno, Change change) {
  RecordLock lock(*database.table, recno);
  if (const Result result = lock.take(); !ok(result)) return result;
  // It may be one that others have appended since the count was taken.
  Result result = Result::ok;
  if (is_shared(*database.table) && recno > table::known_record_count(*database.table)) {
    result = table::catch_up(*database.table);
  }
  if (ok(result) && !is_read_only(*database.table)) result = follow_tags(database);
  return lock.release_after(ok(result) ? change() : result);
}

}  // namespace

Result append_record(Database& database, const void* record, std::uint32_t& recno) {
  VqBlock& block = database.owner_block();
  table::Table& table = *database.table;
  if (database.members.empty() || is_read_only(table)) {
    const Result result = table::append_record(table, record);
    if (ok(result)) recno = static_cast<std::uint32_t>(block.record_number);
    return result;
  }
  const std::size_t length = table::record_length(table);
  platform::Bytes whole;
  const bool complete = !fields_only(block);
  if (!complete) whole = platform::allocate_bytes(length);
  if (!complete && whole == nullptr) return fail(block, Result::no_memory, kAppend.detail(1));
  if (!complete) complete_record(record, length, whole.get());
  const auto* const full = complete ? static_cast<const Byte*>(record) : whole.get();
  EnteredFiles files(database);
  files.want_all();
  Result result = files.enter();
  if (ok(result)) result = follow_tags(database);
  NewKeys keys(database);
  if (ok(result) && !keys.reserve()) result = fail(block, Result::no_memory, kAppend.detail(1));
  if (ok(result)) {
    result = append_and_insert(database, record, recno, [&] { return keys.insert(full, recno); });
  }
  return files.leave_after(result);
}

Result update_record(Database& database, std::uint32_t recno, const void* record) {
  return under_lock(database, recno, [&] {
    return database.members.empty() || is_read_only(*database.table)
               ? table::update_record(*database.table, recno, record)
               : update_with_keys(database, recno, record);
  });
}

Result delete_record(Database& database, std::uint32_t recno) {
  return under_lock(database, recno, [&] {
    return set_flag(database, recno, table::kDeleted, table::delete_record);
  });
}

Result recall_record(Database& database, std::uint32_t recno) {
  return under_lock(database, recno,
                    [&] { return set_flag(database, recno, table::kLive, table::recall_record); });
}

Result flush_member(const VqMember& copy) {
  Database* const owner = owner_of(copy, kFlushMember.detail(0));
  if (owner == nullptr) return Result::bad_handle;
  if (copy.kind == member_kind::kTable) return table::flush(*owner->table);
  if ((copy.kind & member_kind::kMemo) != 0) {
    return owner->memo != nullptr ? memo::flush(*owner->memo) : Result::ok;
  }
  const bool is_index = kind_of_file(copy.kind) != nullptr || kind_of_tag(copy.kind) != nullptr;
  if (!is_index) return fail(owner->block, Result::not_allowed, kFlushMember.detail(1));
  const Member* const member = member_of(*owner, copy);
  if (member == nullptr) return fail(owner->block, Result::bad_handle, kFlushMember.detail(0));
  const Member& file = member->is_tag() ? *member->file : *member;
  return file.driver().flush(*file.index);
}

Result flush(Database& database) {
  FirstFailure failure(database.owner_block());
  // Memos first: what is on the device never names a memo that is not.
  if (database.memo != nullptr) failure.note(memo::flush(*database.memo));
  failure.note(table::flush(*database.table));
  for (const Member& member : database.members) {
    if (!member.is_tag()) failure.note(member.driver().flush(*member.index));
  }
  return failure.result();
}

}  // namespace vqdb::api
