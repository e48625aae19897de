#include "table/locks.h"

#include <algorithm>
#include <vector>

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

const LockScheme* scheme_of(const Table& table) { return find_lock_scheme(table.scheme); }

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

// Locks the range for a moment, to see whether somebody else holds a byte of it. REQUIRES that this
// handle holds none, since letting go of a byte releases it for good.
platform::Outcome probe(platform::File& file, std::uint64_t offset, std::uint64_t length) {
  const platform::Outcome outcome = file.lock(offset, length);
  return outcome.ok() ? file.unlock(offset, length) : outcome;
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

// Whether anybody else holds a record: the range between the records of this handle.
platform::Outcome probe_records(Table& table, const LockScheme& scheme) {
  std::vector<std::uint32_t> held;
  for (const std::uint32_t lock : table.locks.locks()) {
    if (lock != LockState::kFile) held.push_back(lock);
  }
  std::sort(held.begin(), held.end());
  held.push_back(std::max(max_lockable(table, scheme), held.empty() ? 0 : held.back()) + 1);
  std::uint32_t first = 1;
  for (const std::uint32_t next : held) {
    if (next > first) {
      const std::uint64_t start =
          scheme.records_before ? scheme.offset_of(next - 1) : scheme.offset_of(first);
      const platform::Outcome outcome = probe(table.records.file, start, next - first);
      if (!outcome.ok()) return outcome;
    }
    first = next + 1;
  }
  return {};
}

// Takes the bytes of the file lock: the file's own and, so that nobody appends, the append byte.
platform::Outcome take_file_bytes(Table& table, const LockScheme& scheme) {
  platform::File& file = table.records.file;
  if (!holds_file_byte(table, scheme)) {
    const platform::Outcome outcome = file.lock(scheme.file_offset, 1);
    if (!outcome.ok()) return outcome;
  }
  if (table.locks.append || scheme.append_offset == scheme.file_offset) return {};
  const platform::Outcome outcome = file.lock(scheme.append_offset, 1);
  if (!outcome.ok()) (void)file.unlock(scheme.file_offset, 1);
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

}  // namespace

std::uint32_t lock_scheme(const Table& table) { return table.scheme; }
bool has_lock_operations(const Table& table) { return scheme_of(table) != nullptr; }
bool holds_append_lock(const Table& table) { return table.locks.append; }
std::span<const std::uint32_t> held_locks(const Table& table) { return table.locks.locks(); }
bool holds_record_lock(const Table& table, std::uint32_t recno) {
  return recno != LockState::kFile && table.locks.holds(recno);
}
bool holds_any_lock(const Table& table) { return !table.locks.locks().empty(); }

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
  result = answer(block, probe_records(table, *scheme),
                  {Result::locked, kLockFile.detail(4), Result::lock_refused, kLockFile.detail(5)});
  if (!ok(result)) {
    (void)release_file_bytes(table, *scheme);
    return result;
  }
  table.locks.push(LockState::kFile);
  return Result::ok;
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
  if (!holds_file_byte(table, *scheme)) {
    result = answer(
        block, probe(file, scheme->file_offset, 1),
        {Result::file_locked, kLockRecord.detail(5), Result::lock_refused, kLockRecord.detail(7)});
    if (!ok(result)) {
      (void)file.unlock(offset, 1);
      return result;
    }
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
  const auto held = table.locks.locks();
  return held.empty() ? fail(table.block, Result::not_locked, kUnlock.detail(3))
                      : unlock(table, held.back());
}

Result lock_append(Table& table) {
  const LockScheme* const scheme = scheme_of(table);
  if (scheme == nullptr) return fail(table.block, Result::no_driver, kAppend.detail(6));
  if (table.locks.append) return Result::ok;
  if (!table.locks.holds_file()) {
    const Result result =
        answer(*table.block, table.records.file.lock(scheme->append_offset, 1),
               {Result::file_locked, kAppend.detail(4), Result::lock_refused, kAppend.detail(5)});
    if (!ok(result)) return result;
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
  if (table.locks.holds(recno) || table.locks.holds_file()) return Result::ok;
  platform::Outcome outcome = probe(table.records.file, scheme->offset_of(recno), 1);
  if (outcome.ok() && !holds_file_byte(table, *scheme)) {
    outcome = probe(table.records.file, scheme->file_offset, 1);
  }
  const Result result =
      answer(*table.block, outcome,
             {Result::locked, kStatus.detail(3), Result::lock_unknown, kStatus.detail(4)});
  return ok(result) ? Result::not_locked : result;
}

Result file_lock_status(Table& table) {
  const LockScheme* const scheme = scheme_of(table);
  if (scheme == nullptr) return fail(table.block, Result::no_driver, kStatus.detail(2));
  if (table.locks.holds_file()) return Result::ok;
  if (!holds_file_byte(table, *scheme)) {
    const Result result =
        answer(*table.block, probe(table.records.file, scheme->file_offset, 1),
               {Result::locked, kStatus.detail(3), Result::lock_unknown, kStatus.detail(4)});
    if (!ok(result)) return result;
  }
  return Result::not_locked;
}

Result lock_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme) {
  const LockScheme* const place = find_lock_scheme(scheme);
  if (place == nullptr) return Result::ok;
  return answer(
      block, file.lock(place->file_offset, place->file_length),
      {Result::file_locked, kWholeFile.detail(1), Result::lock_refused, kWholeFile.detail(2)});
}

Result unlock_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme) {
  const LockScheme* const place = find_lock_scheme(scheme);
  if (place == nullptr) return Result::ok;
  const platform::Outcome outcome = file.unlock(place->file_offset, place->file_length);
  if (outcome.ok()) return Result::ok;
  block.system_error = outcome.system_number;
  return fail(block, Result::lock_routine, kWholeFile.detail(3));
}

}  // namespace vqdb::table
