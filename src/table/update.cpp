// Overwriting, deleting and recalling records.
#include <array>
#include <cstring>

#include "table/locks.h"
#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kUpdrec{46};

enum class Change : std::uint8_t { overwrite, set_deleted, set_live };

// Writes a record that lacks its first `skip` bytes, the flag or none, in one call of the system
// when it fits.
platform::Outcome write_record(RecordFile& records, std::uint64_t offset, const void* record,
                               std::uint32_t skip) {
  const std::size_t length = records.record_length - skip;
  if (skip == 0) return records.file.write_at(offset, record, length);
  char flag = kLive;
  if (length < platform::kChunkBytes) {
    const std::array<platform::Piece, 2> pieces = {
        {{&flag, 1}, {const_cast<void*>(record), length}}};
    return records.file.write_pieces(offset, pieces);
  }
  const platform::Outcome outcome = records.file.write_at(offset, &flag, 1);
  return outcome.ok() ? records.file.write_at(offset + 1, record, length) : outcome;
}

// Overwrites, deletes or recalls in the file itself.
Result write_change(Table& table, std::uint32_t recno, Change change, const void* record,
                    std::uint32_t skip) {
  RecordFile& records = table.records;
  const std::uint64_t offset = records.offset_of(recno);
  const char flag = change == Change::set_deleted ? kDeleted : kLive;
  const platform::Outcome outcome = change == Change::overwrite
                                        ? write_record(records, offset, record, skip)
                                        : records.file.write_at(offset, &flag, 1);
  return outcome.ok() ? Result::ok : fail(table.block, Result::io, kUpdrec.detail(7));
}

Result check_change(Table& table, std::uint32_t recno) {
  if (table.is_read_only()) return fail(table.block, Result::read_only, kUpdrec.detail(3));
  if (!is_number(recno)) return fail(table.block, Result::out_of_range, kUpdrec.detail(4));
  if (table.is_shared() && has_lock_operations(table)) {
    // A number that no lock can name is judged by the count below.
    const Result lock = record_lock_status(table, recno);
    const bool free = ok(lock) || lock == Result::not_locked || lock == Result::out_of_range;
    if (!free) return lock;
  }
  if (recno <= table.records.count) return Result::ok;
  std::uint32_t count = 0;
  if (const Result result = record_count(table, count); !ok(result)) return result;
  return recno <= count ? Result::ok : fail(table.block, Result::out_of_range, kUpdrec.detail(5));
}

void apply(Change change, Byte* place, const void* record, std::uint32_t skip,
           std::uint32_t length) {
  switch (change) {
    case Change::overwrite:
      if (skip != 0) place[0] = kLive;
      std::memcpy(place + skip, record, length - skip);
      break;
    case Change::set_deleted:
      place[0] = kDeleted;
      break;
    case Change::set_live:
      place[0] = kLive;
      break;
  }
}

Result change_record(Table& table, std::uint32_t recno, Change change, const void* record) {
  if (const Result result = check_change(table, recno); !ok(result)) return result;
  const std::uint32_t skip = table.caller_offset();
  const std::uint32_t length = table.records.record_length;
  Byte* place = nullptr;
  if (table.policy == BufferPolicy::write_back) {
    const Result result = table.cache.find(recno, BlockCache::Load::cached, place);
    if (!ok(result)) return result;
    apply(change, place, record, skip, length);
    table.cache.mark_changed();
  } else {
    Result result = check_stored(table, recno);
    if (ok(result)) result = write_change(table, recno, change, record, skip);
    if (!ok(result)) {
      table.cache.drop(recno);
      return result;
    }
    place = table.cache.peek(recno);
    if (place != nullptr) apply(change, place, record, skip, length);
  }
  table.current = recno;
  return Result::ok;
}

}  // namespace

Result update_record(Table& table, std::uint32_t recno, const void* record) {
  return change_record(table, recno, Change::overwrite, record);
}

Result delete_record(Table& table, std::uint32_t recno) {
  return change_record(table, recno, Change::set_deleted, nullptr);
}

Result recall_record(Table& table, std::uint32_t recno) {
  return change_record(table, recno, Change::set_live, nullptr);
}

}  // namespace vqdb::table
