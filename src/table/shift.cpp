// Inserting and removing records in the middle of an exclusive table: the records behind move by
// one number. When a move fails half way, the records moved so far move back, as far as the
// system lets them.
#include <cstring>

#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kInsrec{27};
constexpr Operation kRmrec{40};

// Reads and writes whole records through the cache, one at a time.
class RecordMover {
 public:
  explicit RecordMover(Table& table) : table_(table) {}

  // Takes the work area of one record; false without memory.
  bool prepare() {
    work_ = platform::allocate_bytes(table_.records.record_length);
    return work_ != nullptr;
  }

  Result get(std::uint32_t recno, Byte* record) {
    Byte* place = nullptr;
    const Result result = table_.cache.find(recno, BlockCache::Load::cached, place);
    if (ok(result)) std::memcpy(record, place, table_.records.record_length);
    return result;
  }
  Result put(std::uint32_t recno, const Byte* record) {
    Byte* place = nullptr;
    const Result result = table_.cache.find(recno, BlockCache::Load::cached, place);
    if (!ok(result)) return result;
    std::memcpy(place, record, table_.records.record_length);
    table_.cache.mark_changed();
    return Result::ok;
  }

  // Copies records last, last - 1, ..., first to the numbers one above. `done` counts the copies.
  Result shift_up(std::uint32_t first, std::uint32_t last, std::uint32_t& done) {
    for (done = 0; done <= last - first; ++done) {
      if (const Result result = copy(last - done, last - done + 1); !ok(result)) return result;
    }
    return Result::ok;
  }
  // Copies records first, ..., last to the numbers one below.
  Result shift_down(std::uint32_t first, std::uint32_t last, std::uint32_t& done) {
    for (done = 0; done <= last - first; ++done) {
      if (const Result result = copy(first + done, first + done - 1); !ok(result)) return result;
    }
    return Result::ok;
  }

 private:
  Result copy(std::uint32_t from, std::uint32_t to) {
    const Result result = get(from, work_.get());
    return ok(result) ? put(to, work_.get()) : result;
  }

  Table& table_;
  platform::Bytes work_;
};

// The last record no longer counts.
void drop_last(Table& table) {
  --table.records.count;
  table.cache.shrink();
  table.header_dirty = true;
  table.end_mark_stale = true;
}

Result check_mode(Table& table, const Operation& operation) {
  if (table.is_shared()) return fail(table.block, Result::not_allowed, operation.detail(2));
  if (table.is_read_only()) return fail(table.block, Result::read_only, operation.detail(3));
  return Result::ok;
}

}  // namespace

Result insert_record(Table& table, std::uint32_t recno, const void* record) {
  if (const Result result = check_mode(table, kInsrec); !ok(result)) return result;
  const std::uint32_t count = table.records.count;
  if (recno < 1 || recno - 1 > count) {
    return fail(table.block, Result::out_of_range, kInsrec.detail(4));
  }
  RecordMover mover(table);
  if (!mover.prepare()) return fail(table.block, Result::no_memory, kInsrec.detail(5));
  const std::uint32_t current = table.current;
  if (const Result result = append_record(table, record); !ok(result)) return result;
  table.current = current;
  if (recno <= count) {
    std::uint32_t done = 0;
    Result result = mover.shift_up(recno, count, done);
    if (ok(result)) result = update_record(table, recno, record);
    if (!ok(result)) {
      const std::int32_t detail = table.block->detail;
      std::uint32_t undone = 0;
      const bool restored = done == 0 || ok(mover.shift_down(count - done + 2, count + 1, undone));
      if (restored) drop_last(table);  // else one record stands twice, and none is lost
      table.block->record_number = -1;
      table.block->detail = detail;
      return result;
    }
  }
  table.current = recno;
  return Result::ok;
}

Result remove_record(Table& table, std::uint32_t recno) {
  if (const Result result = check_mode(table, kRmrec); !ok(result)) return result;
  const std::uint32_t count = table.records.count;
  if (recno < 1 || recno > count) {
    return fail(table.block, Result::out_of_range, kRmrec.detail(4));
  }
  RecordMover mover(table);
  const platform::Bytes removed = platform::allocate_bytes(table.records.record_length);
  if (removed == nullptr || !mover.prepare()) {
    return fail(table.block, Result::no_memory, kRmrec.detail(5));
  }
  if (const Result result = mover.get(recno, removed.get()); !ok(result)) return result;
  if (recno < count) {
    std::uint32_t done = 0;
    if (const Result result = mover.shift_down(recno + 1, count, done); !ok(result)) {
      const std::int32_t detail = table.block->detail;
      std::uint32_t undone = 0;
      if (done > 0 && ok(mover.shift_up(recno, recno + done - 1, undone))) {
        (void)mover.put(recno, removed.get());
      }
      table.block->detail = detail;
      return result;
    }
  }
  drop_last(table);
  table.current = recno > table.records.count ? table.records.count : recno;
  return Result::ok;
}

}  // namespace vqdb::table
