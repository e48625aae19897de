#include "table/locks.h"

#include <algorithm>

#include "frame/system_file.h"
#include "table/lock_scheme.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kAppend{32};
constexpr Operation kUnlockAppend{35};
constexpr Operation kLockFile{48};
constexpr Operation kUnlock{49};
constexpr Operation kLockRecord{50};
constexpr Operation kWholeFile{1043};
constexpr Operation kStatus{1045};

// Null for a table whose scheme has no locks.
const LockScheme* scheme_of(const Table& table) {
  const LockScheme& scheme = lock_scheme_of(table.scheme);
  return scheme.has_locks ? &scheme : nullptr;
}

// An index or memo file that several processes change is never without a lock.
const LockScheme& bracket_of(std::uint32_t number) {
  const LockScheme& scheme = lock_scheme_of(number);
  return scheme.has_locks ? scheme : kLockSchemes.front();
}

// What a request that fails with one of two detail codes ends in.
struct Refusal {
  Result held_result;  // somebody else holds a byte of it
  std::int32_t held_detail;
  Result system_result;  // the system refused for another reason
  std::int32_t system_detail;
};

Result answer(VqBlock& block, const platform::Outcome& outcome, const Refusal& refusal) {
  if (outcome.ok()) return Result::ok;
  block.system_error = outcome.system_number;
  return outcome.error == platform::Error::lock_refused
             ? fail(block, refusal.held_result, refusal.held_detail)
             : fail(block, refusal.system_result, refusal.system_detail);
}

// One byte may stand for the file and for the append position.
bool holds_file_byte(const Table& table, const LockScheme& scheme) {
  return table.locks.holds_file() ||
         (table.locks.append && scheme.append_offset == scheme.file_offset);
}

// Record numbers that a lock of somebody else's can name: those that the file has room for.
std::uint32_t max_lockable(const Table& table, const LockScheme& scheme) {
  const RecordFile& records = table.records;
  const std::uint64_t room = (kMaxTableBytes - records.header_length) / records.record_length;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(room, scheme.max_record));
}

// Whether anybody else holds one of the records 1 to `last`.
platform::Outcome test_records(platform::File& file, const LockScheme& scheme, std::uint32_t last) {
  return file.test_lock(scheme.first_offset(last), last);
}

// Whether anybody else has the file, as far as its byte says.
platform::Outcome test_file_byte(Table& table, const LockScheme& scheme) {
  if (holds_file_byte(table, scheme)) return {};
  return table.records.file.test_lock(scheme.file_offset, 1);
}

// Takes the bytes of the file lock, but for those that are held: the file's own and, so that nobody
// appends, the append byte.
platform::Outcome take_file_bytes(platform::File& file, const LockScheme& scheme,
                                  UnopenedLock& held) {
  platform::Outcome outcome;
  if (!held.file) outcome = file.lock(scheme.file_offset, 1);
  held.file = held.file || outcome.ok();
  if (!outcome.ok() || held.append || scheme.append_offset == scheme.file_offset) return outcome;
  outcome = file.lock(scheme.append_offset, 1);
  held.append = outcome.ok();
  return outcome;
}

platform::Outcome take_file_bytes(Table& table, const LockScheme& scheme) {
  platform::File& file = table.records.file;
  const bool had_file = holds_file_byte(table, scheme);
  UnopenedLock held = {had_file, table.locks.append};
  const platform::Outcome outcome = take_file_bytes(file, scheme, held);
  if (!outcome.ok() && held.file && !had_file) (void)file.unlock(scheme.file_offset, 1);
  return outcome;
}

// Gives back what take_file_bytes took, all but a byte that the append lock still needs.
platform::Outcome release_file_bytes(Table& table, const LockScheme& scheme) {
  platform::File& file = table.records.file;
  const bool same_byte = scheme.append_offset == scheme.file_offset;
  if (same_byte && table.locks.append) return {};
  const platform::Outcome outcome = file.unlock(scheme.file_offset, 1);
  if (same_byte || table.locks.append) return outcome;
  const platform::Outcome append = file.unlock(scheme.append_offset, 1);
  return outcome.ok() ? append : outcome;
}

Result release(Table& table, std::uint32_t lock) {
  const LockScheme& scheme = *scheme_of(table);
  const platform::Outcome outcome = lock == LockState::kFile
                                        ? release_file_bytes(table, scheme)
                                        : table.records.file.unlock(scheme.offset_of(lock), 1);
  if (!outcome.ok()) {
    table.block->system_error = outcome.system_number;
    return fail(table.block, Result::lock_routine, kUnlock.detail(4));
  }
  table.locks.remove(lock);
  return Result::ok;
}

Result unlock(Table& table, std::uint32_t lock) {
  if (scheme_of(table) == nullptr) {
    return fail(table.block, Result::no_driver, kUnlock.detail(2));
  }
  if (!table.locks.holds(lock)) return fail(table.block, Result::not_locked, kUnlock.detail(3));
  return release(table, lock);
}

// Leaves closed what is not there, or may not be written, which making the other file will tell.
Result open_claimed(VqBlock& block, const std::string& path, platform::File& file,
                    std::int32_t unopened) {
  const platform::Error error = file.open_replaceable(path).error;
  const bool is_known = error == platform::Error::none || error == platform::Error::not_found ||
                        error == platform::Error::access_denied;
  return is_known ? Result::ok : fail(block, open_result(error), unopened);
}

}  // namespace

std::uint32_t lock_scheme(const Table& table) { return table.scheme; }
bool has_lock_operations(const Table& table) { return scheme_of(table) != nullptr; }
bool holds_append_lock(const Table& table) { return table.locks.append; }
std::uint32_t lock_count(const Table& table) { return table.locks.count(); }
bool holds_record_lock(const Table& table, std::uint32_t recno) {
  return recno != LockState::kFile && table.locks.holds(recno);
}
bool may_change_record(const Table& table, std::uint32_t recno) {
  return table.locks.holds(recno) || table.locks.holds_file();
}
bool holds_any_lock(const Table& table) { return table.locks.count() != 0; }

std::uint32_t list_record_locks(const Table& table, std::uint32_t* records, std::uint32_t max) {
  std::uint32_t count = 0;
  table.locks.visit([&](std::uint32_t lock) {
    if (lock == LockState::kFile) return;
    if (count < max) records[count] = lock;
    ++count;
  });
  return count;
}

Result top_lock(const Table& table, std::uint32_t& lock) {
  if (table.locks.count() == 0) return fail(table.block, Result::not_locked, kUnlock.detail(3));
  lock = table.locks.newest();
  return Result::ok;
}

Result lock_file(Table& table) {
  const LockScheme* const scheme = scheme_of(table);
  VqBlock& block = *table.block;
  if (scheme == nullptr) return fail(block, Result::no_driver, kLockFile.detail(2));
  if (table.locks.holds_file()) return Result::ok;
  if (!table.locks.reserve()) return fail(block, Result::no_memory, kLockFile.detail(6));
  Result result =
      answer(block, take_file_bytes(table, *scheme),
             {Result::file_locked, kLockFile.detail(3), Result::lock_refused, kLockFile.detail(5)});
  if (!ok(result)) return result;
  result = answer(block, test_records(table.records.file, *scheme, max_lockable(table, *scheme)),
                  {Result::locked, kLockFile.detail(4), Result::lock_refused, kLockFile.detail(5)});
  if (!ok(result)) {
    (void)release_file_bytes(table, *scheme);
    return result;
  }
  table.locks.push(LockState::kFile);
  return Result::ok;
}

Result claim_table(Table& table) {
  if (scheme_of(table) == nullptr) return Result::ok;
  const Result result = lock_file(table);
  return result == Result::locked ? Result::file_locked : result;
}

Result lock_record(Table& table, std::uint32_t recno) {
  const LockScheme* const scheme = scheme_of(table);
  VqBlock& block = *table.block;
  if (scheme == nullptr) return fail(block, Result::no_driver, kLockRecord.detail(3));
  if (recno < 1 || recno > max_lockable(table, *scheme)) {
    return fail(block, Result::out_of_range, kLockRecord.detail(2));
  }
  if (table.locks.holds(recno)) return Result::ok;
  if (!table.locks.reserve()) return fail(block, Result::no_memory, kLockRecord.detail(6));
  platform::File& file = table.records.file;
  const std::uint64_t offset = scheme->offset_of(recno);
  Result result =
      answer(block, file.lock(offset, 1),
             {Result::locked, kLockRecord.detail(4), Result::lock_refused, kLockRecord.detail(7)});
  if (!ok(result)) return result;
  result = answer(
      block, test_file_byte(table, *scheme),
      {Result::file_locked, kLockRecord.detail(5), Result::lock_refused, kLockRecord.detail(7)});
  if (!ok(result)) {
    (void)file.unlock(offset, 1);
    return result;
  }
  table.locks.push(recno);
  return Result::ok;
}

Result unlock_file(Table& table) { return unlock(table, LockState::kFile); }

Result unlock_record(Table& table, std::uint32_t recno) {
  return recno == LockState::kFile ? fail(table.block, Result::not_locked, kUnlock.detail(3))
                                   : unlock(table, recno);
}

Result pop_lock(Table& table) {
  return table.locks.count() == 0 ? fail(table.block, Result::not_locked, kUnlock.detail(3))
                                  : unlock(table, table.locks.newest());
}

Result lock_append(Table& table) {
  const LockScheme* const scheme = scheme_of(table);
  if (scheme == nullptr) return fail(table.block, Result::no_driver, kAppend.detail(6));
  if (table.locks.append) return Result::ok;
  if (!table.locks.holds_file()) {
    const Refusal refusal = {Result::file_locked, kAppend.detail(4), Result::lock_refused,
                             kAppend.detail(5)};
    platform::File& file = table.records.file;
    Result result = answer(*table.block, file.lock(scheme->append_offset, 1), refusal);
    if (!ok(result)) return result;
    if (scheme->append_offset != scheme->file_offset) {
      result = answer(*table.block, test_file_byte(table, *scheme), refusal);
    }
    if (!ok(result)) {
      (void)file.unlock(scheme->append_offset, 1);
      return result;
    }
  }
  table.locks.append = true;
  return Result::ok;
}

Result unlock_append(Table& table) {
  const LockScheme* const scheme = scheme_of(table);
  if (scheme == nullptr) return fail(table.block, Result::no_driver, kAppend.detail(6));
  if (!table.locks.append) {
    return fail(table.block, Result::not_locked, kUnlockAppend.detail(2));
  }
  if (!table.locks.holds_file()) {
    const platform::Outcome outcome = table.records.file.unlock(scheme->append_offset, 1);
    if (!outcome.ok()) {
      table.block->system_error = outcome.system_number;
      return fail(table.block, Result::lock_routine, kUnlockAppend.detail(3));
    }
  }
  table.locks.append = false;
  return Result::ok;
}

Result record_lock_status(Table& table, std::uint32_t recno) {
  const LockScheme* const scheme = scheme_of(table);
  if (scheme == nullptr) return fail(table.block, Result::no_driver, kStatus.detail(2));
  if (recno < 1 || recno > max_lockable(table, *scheme)) {
    return fail(table.block, Result::out_of_range, kStatus.detail(1));
  }
  if (may_change_record(table, recno)) return Result::ok;
  platform::Outcome outcome = table.records.file.test_lock(scheme->offset_of(recno), 1);
  if (outcome.ok()) outcome = test_file_byte(table, *scheme);
  const Result result =
      answer(*table.block, outcome,
             {Result::locked, kStatus.detail(3), Result::lock_unknown, kStatus.detail(4)});
  return ok(result) ? Result::not_locked : result;
}

Result file_lock_status(Table& table) {
  const LockScheme* const scheme = scheme_of(table);
  if (scheme == nullptr) return fail(table.block, Result::no_driver, kStatus.detail(2));
  if (table.locks.holds_file()) return Result::ok;
  const Result result =
      answer(*table.block, test_file_byte(table, *scheme),
             {Result::locked, kStatus.detail(3), Result::lock_unknown, kStatus.detail(4)});
  return ok(result) ? Result::not_locked : result;
}

Result lock_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme,
                       platform::Sharing sharing) {
  const LockScheme& place = bracket_of(scheme);
  return answer(
      block, file.lock(place.file_offset, place.file_length, sharing),
      {Result::file_locked, kWholeFile.detail(1), Result::lock_refused, kWholeFile.detail(2)});
}

Result unlock_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme) {
  const LockScheme& place = bracket_of(scheme);
  const platform::Outcome outcome = file.unlock(place.file_offset, place.file_length);
  if (outcome.ok()) return Result::ok;
  block.system_error = outcome.system_number;
  return fail(block, Result::lock_routine, kWholeFile.detail(3));
}

Result test_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme,
                       platform::Sharing sharing) {
  const LockScheme& place = bracket_of(scheme);
  return answer(
      block, file.test_lock(place.file_offset, place.file_length, sharing),
      {Result::file_locked, kWholeFile.detail(1), Result::lock_refused, kWholeFile.detail(2)});
}

bool ask_for_turn(platform::File& file, std::uint32_t scheme) {
  return file.lock(bracket_of(scheme).offset_of(1), 1).ok();
}

void take_back_request(platform::File& file, std::uint32_t scheme) {
  (void)file.unlock(bracket_of(scheme).offset_of(1), 1);
}

bool somebody_asks_for_turn(platform::File& file, std::uint32_t scheme) {
  const platform::Outcome outcome =
      file.test_lock(bracket_of(scheme).offset_of(1), 1, platform::Sharing::shared);
  return outcome.error == platform::Error::lock_refused;
}

Result lock_unopened_table(VqBlock& block, platform::File& file, std::uint32_t scheme,
                           UnopenedLock& held) {
  const LockScheme& place = lock_scheme_of(scheme);
  if (!place.has_locks) return Result::ok;
  platform::Outcome outcome = take_file_bytes(file, place, held);
  if (outcome.ok()) outcome = test_records(file, place, place.max_record);
  return answer(
      block, outcome,
      {Result::file_locked, kWholeFile.detail(1), Result::lock_refused, kWholeFile.detail(2)});
}

Result claim_table_at(VqBlock& block, const std::string& path, platform::File& file,
                      std::int32_t unopened) {
  if (!lock_scheme_of(block.index_kind).has_locks) return Result::ok;
  const Result result = open_claimed(block, path, file, unopened);
  UnopenedLock held;
  return ok(result) && file.is_open() ? lock_unopened_table(block, file, block.index_kind, held)
                                      : result;
}

Result claim_file_at(VqBlock& block, const std::string& path, platform::File& file,
                     std::int32_t unopened) {
  const Result result = open_claimed(block, path, file, unopened);
  return ok(result) && file.is_open() ? lock_whole_file(block, file, block.index_kind) : result;
}

}  // namespace vqdb::table
