// Overwriting, deleting and recalling records, and writing out what waits in the buffers.
#include <cstring>

#include "table/locks.h"
#include "table/record_image.h"
#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kFlush{24};
constexpr Operation kUpdrec{46};

enum class Change : std::uint8_t { overwrite, set_deleted, set_live };

// Overwrites, deletes or recalls in the file itself.
Result write_change(Table& table, std::uint32_t recno, Change change, const RecordImage& image) {
  static constexpr char kDeletedFlag = kDeleted;
  static constexpr char kLiveFlag = kLive;
  RecordFile& records = table.records;
  const std::uint64_t offset = records.offset_of(recno);
  const platform::Outcome outcome =
      change == Change::overwrite
          ? records.file.write_at(offset, image.bytes(), records.record_length)
          : records.file.write_at(offset,
                                  change == Change::set_deleted ? &kDeletedFlag : &kLiveFlag, 1);
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
    RecordImage image;
    if (change == Change::overwrite && !image.make(record, skip, length)) {
      return fail(table.block, Result::no_memory, kUpdrec.detail(6));
    }
    Result result = check_stored(table, recno);
    if (ok(result)) result = write_change(table, recno, change, image);
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

Result flush(Table& table) {
  if (const Result result = table.cache.write_changed(kFlush.detail(2)); !ok(result)) {
    return result;
  }
  RecordFile& records = table.records;
  if (table.end_mark_stale) {
    const std::uint64_t end = records.offset_of(records.count + 1);
    if (!records.file.write_at(end, &kEndMark, 1).ok()) {
      return fail(table.block, Result::io, kFlush.detail(2));
    }
    table.end_mark_stale = false;
  }
  if (table.header_dirty) {
    const Result result = write_count(table, records.count, kFlush.detail(3));
    if (!ok(result)) return result;
    table.header_dirty = false;
  }
  return Result::ok;
}

Result clear_buffers(Table& table) {
  const Result result = flush(table);
  if (ok(result)) table.cache.clear();
  return result;
}

Result catch_up(Table& table) {
  const Result result = clear_buffers(table);
  return ok(result) && table.is_shared() ? refresh_count(table) : result;
}

}  // namespace vqdb::table
