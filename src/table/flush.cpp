// Writing out what waits in the buffers and in the handle.
#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kFlush{24};

// After a failure: the records that are whole in the file count, the file ends behind them, and
// what waits in the buffers goes on waiting.
void settle_count(Table& table) {
  const std::uint32_t whole = table.cache.whole_records();
  if (whole <= table.stored_count) return;
  const std::int32_t detail = table.block->detail;
  table.cache.end_file_behind(whole);
  if (!table.cache.has_stored_behind(whole)) (void)cut_behind(table, whole);
  (void)write_count(table, whole, kFlush.detail(3));
  table.block->detail = detail;
}

// A file that another took the place of is empty, or has been: what is written there is lost.
Result check_in_place(Table& table) {
  Byte version = 0;
  const bool has_header = table.records.file.read_exactly(0, &version, 1).ok() && version != 0;
  return has_header ? Result::ok : fail(table.block, Result::io, kFlush.detail(2));
}

Result write_all(Table& table) {
  if (table.header_dirty || table.end_mark_stale || table.cache.was_changed()) {
    if (const Result result = check_in_place(table); !ok(result)) return result;
  }
  if (const Result result = table.cache.write_changed(kFlush.detail(2)); !ok(result)) {
    settle_count(table);
    return result;
  }
  RecordFile& records = table.records;
  if (table.end_mark_stale) {
    const std::uint64_t end = records.offset_of(records.count + 1);
    if (!records.file.write_at(end, &kEndMark, 1).ok() || !cut_behind(table, records.count).ok()) {
      return fail(table.block, Result::io, kFlush.detail(2));
    }
    table.end_mark_stale = false;
  }
  if (table.header_dirty) {
    const Result result = write_count(table, records.count, kFlush.detail(3));
    if (!ok(result)) return result;
    table.header_dirty = false;
  }
  table.cache.settle();
  return Result::ok;
}

}  // namespace

Result flush(Table& table) {
  const Result result = write_all(table);
  if (!ok(result) || table.is_read_only()) return result;
  return force_out(*table.block, table.records.file).ok()
             ? Result::ok
             : fail(table.block, Result::io, kFlush.detail(4));
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
