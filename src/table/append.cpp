#include <cstring>

#include "table/lock_scheme.h"
#include "table/locks.h"
#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kApprec{32};

// Details of the steps of an append, behind 321 to 326.
constexpr std::int32_t kTableFull = kApprec.detail(7);
constexpr std::int32_t kRecordFailed = kApprec.detail(11);  // record or its flag byte
constexpr std::int32_t kFieldsFailed = kApprec.detail(12);  // fields behind the flag byte
constexpr std::int32_t kMarkFailed = kApprec.detail(13);
constexpr std::int32_t kHeaderFailed = kApprec.detail(15);

// A record on its way in: it lacks its first `skip` bytes, the flag or none, and must end below
// data_end.
struct NewRecord {
  const void* bytes;
  std::uint32_t skip;
  std::uint64_t data_end;
};

// A record more must fit below the locked bytes, and behind records that are all there.
Result check_room(Table& table, const NewRecord& record) {
  const RecordFile& records = table.records;
  const std::uint64_t end = records.offset_of(records.count + 1) + records.record_length;
  if (end + 1 > record.data_end || records.count >= INT32_MAX) {
    return fail(table.block, Result::disk_full, kTableFull);
  }
  // An exclusive table's last records may still be in the buffers; what the file lacks of those
  // before was seen at opening.
  if (table.is_shared())
    return records.count == 0 ? Result::ok : check_stored(table, records.count);
  return table.short_file ? fail(table.block, Result::io, kShortFile) : Result::ok;
}

void count_record(Table& table) {
  ++table.records.count;
  table.current = table.records.count;
  table.block->record_number = static_cast<std::int32_t>(table.records.count);
}

void put_record(const Table& table, const NewRecord& record, Byte* place) {
  if (record.skip != 0) place[0] = kLive;
  std::memcpy(place + record.skip, record.bytes, table.records.record_length - record.skip);
}

Result append_cached(Table& table, const NewRecord& record) {
  if (const Result result = check_room(table, record); !ok(result)) return result;
  Byte* place = nullptr;
  if (const Result result = table.cache.find_append(place); !ok(result)) return result;
  put_record(table, record, place);
  table.cache.append_done();
  table.header_dirty = true;
  count_record(table);
  return Result::ok;
}

// Writes the record and the end mark behind it, in one call of the system when they fit.
Result write_record(Table& table, std::uint64_t offset, const NewRecord& record) {
  static constexpr char kLiveFlag = kLive;
  struct Step {
    const void* data;
    std::size_t size;
    std::int32_t detail;
  };
  platform::File& file = table.records.file;
  const std::size_t length = table.records.record_length;
  const std::array<Step, 3> steps = {
      {{&kLiveFlag, record.skip, kRecordFailed},
       {record.bytes, length - record.skip, record.skip != 0 ? kFieldsFailed : kRecordFailed},
       {&kEndMark, 1, kMarkFailed}}};
  if (length < platform::kChunkBytes) {
    std::array<platform::Piece, 3> pieces;
    std::size_t count = 0;
    for (const Step& step : steps) {
      if (step.size != 0) pieces[count++] = {const_cast<void*>(step.data), step.size};
    }
    const platform::Outcome outcome = file.write_pieces(offset, {pieces.data(), count});
    return outcome.ok() ? Result::ok : fail(table.block, Result::io, kRecordFailed);
  }
  for (const Step& step : steps) {
    if (!file.write_at(offset, step.data, step.size).ok()) {
      return fail(table.block, Result::io, step.detail);
    }
    offset += step.size;
  }
  return Result::ok;
}

Result append_under_lock(Table& table, const NewRecord& record) {
  if (const Result result = refresh_count(table); !ok(result)) return result;
  if (const Result result = check_room(table, record); !ok(result)) return result;
  RecordFile& records = table.records;
  const std::uint32_t recno = records.count + 1;
  const std::uint64_t offset = records.offset_of(recno);
  Result result = write_record(table, offset, record);
  if (ok(result)) result = write_count(table, recno, kHeaderFailed);
  if (!ok(result)) {
    // What was written does not count; the records still end here.
    (void)records.file.write_at(offset, &kEndMark, 1);
    (void)cut_behind(table, recno - 1);
    return result;
  }
  if (Byte* const place = table.cache.note_append(recno); place != nullptr) {
    put_record(table, record, place);
  }
  count_record(table);
  return Result::ok;
}

// Every shared mode numbers the record by the count in the file, so that appenders never overwrite
// each other.
Result append_through(Table& table, const NewRecord& record) {
  const bool locks_here = has_lock_operations(table) && !holds_append_lock(table);
  if (locks_here) {
    if (const Result result = lock_append(table); !ok(result)) return result;
  }
  const Result result = append_under_lock(table, record);
  if (!locks_here) return result;
  const std::int32_t detail = table.block->detail;
  const Result unlocked = unlock_append(table);
  if (ok(result)) return unlocked;
  table.block->detail = detail;
  return result;
}

Result append(Table& table, const NewRecord& record) {
  table.block->record_number = -1;
  if (table.is_read_only()) return fail(table.block, Result::read_only, kApprec.detail(3));
  return table.policy == BufferPolicy::write_back ? append_cached(table, record)
                                                  : append_through(table, record);
}

}  // namespace

Result append_copy(Table& table, const Byte* record) {
  return append(table, {record, 0, lock_scheme_of(table.scheme).data_end});
}

Result append_record(Table& table, const void* record) {
  return append(table, {record, table.caller_offset(), lock_scheme_of(table.scheme).data_end});
}

Result append_whole_record(Table& table, const Byte* record) {
  return append(table, {record, 0, kMaxTableBytes});
}

}  // namespace vqdb::table
