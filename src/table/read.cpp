// Reading records: from the buffers, or from the file past them.
#include <algorithm>
#include <cstring>
#include <span>

#include "table/locks.h"
#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kGetrec{26};
constexpr Operation kRecsta{38};

// The checks that reading a record and reading its flag begin with. Reload is asked for when the
// count had to be brought up to date.
Result check_number(Table& table, std::uint32_t recno, const Operation& operation,
                    BlockCache::Load& load) {
  if (!is_number(recno)) return fail(table.block, Result::out_of_range, operation.detail(2));
  load = BlockCache::Load::cached;
  if (recno <= table.records.count) return Result::ok;
  std::uint32_t count = 0;
  if (const Result result = record_count(table, count); !ok(result)) return result;
  if (recno > count) return fail(table.block, Result::out_of_range, operation.detail(3));
  load = BlockCache::Load::reload;
  return Result::ok;
}

// Reads the bytes behind the first `skip` of a record past the cache, but keeps a cached block up
// to date on the way.
Result read_from_file(Table& table, std::uint32_t recno, std::uint32_t skip, void* record) {
  RecordFile& records = table.records;
  Byte* const cached = table.cache.peek(recno);
  std::size_t transferred = 0;
  const platform::Outcome outcome =
      cached != nullptr ? records.file.read_at(records.offset_of(recno), cached,
                                               records.record_length, transferred)
                        : records.file.read_at(records.offset_of(recno) + skip, record,
                                               records.record_length - skip, transferred);
  const std::size_t wanted = records.record_length - (cached != nullptr ? 0 : skip);
  if (!outcome.ok() || transferred < wanted) {
    if (cached != nullptr) table.cache.drop(recno);
    const bool nothing = transferred == 0 && skip != 0 && table.cache.has_buffers();
    return fail(table.block, Result::io, kGetrec.detail(nothing ? 5 : 4));
  }
  if (cached != nullptr) std::memcpy(record, cached + skip, records.record_length - skip);
  table.current = recno;
  return Result::ok;
}

Result read_from_cache(Table& table, std::uint32_t recno, std::uint32_t skip, void* record) {
  const Result result = table.cache.read(recno, skip, record);
  if (ok(result)) table.current = recno;
  return result;
}

// Reads a record that may not exist, or not come from the cache. Kept out of the way of the usual
// read, which it would slow down.
[[gnu::noinline]] Result read_checked(Table& table, std::uint32_t recno, std::uint32_t skip,
                                      void* record) {
  BlockCache::Load load;
  if (const Result result = check_number(table, recno, kGetrec, load); !ok(result)) return result;
  if (!table.cache.has_buffers()) return read_from_file(table, recno, skip, record);
  if (load == BlockCache::Load::reload) {
    Byte* place = nullptr;
    if (const Result result = table.cache.find(recno, load, place); !ok(result)) return result;
  } else if (table.reads_from_file()) {
    return read_from_file(table, recno, skip, record);
  }
  return read_from_cache(table, recno, skip, record);
}

Result read(Table& table, std::uint32_t recno, std::uint32_t skip, void* record) {
  if (is_number(recno) && recno <= table.records.count && !table.reads_from_file()) {
    return read_from_cache(table, recno, skip, record);
  }
  return read_checked(table, recno, skip, record);
}

Result reread(Table& table, std::uint32_t recno, std::uint32_t skip, void* record) {
  // Where changes wait in the buffers, these are newer than the file.
  if (!table.is_shared() && !table.is_read_only()) return read(table, recno, skip, record);
  if (!is_number(recno)) return fail(table.block, Result::out_of_range, kGetrec.detail(2));
  if (recno > table.records.count) {
    if (const Result result = refresh_count(table); !ok(result)) return result;
  }
  if (recno > table.records.count) {
    return fail(table.block, Result::out_of_range, kGetrec.detail(3));
  }
  return read_from_file(table, recno, skip, record);
}

}  // namespace

Result read_record(Table& table, std::uint32_t recno, void* record) {
  return read(table, recno, table.caller_offset(), record);
}

Result read_whole_record(Table& table, std::uint32_t recno, Byte* record) {
  return read(table, recno, 0, record);
}

Result read_records(Table& table, std::uint32_t first, std::uint32_t count, void* records,
                    std::uint32_t& got) {
  const std::size_t length = table.records.record_length - table.caller_offset();
  auto* const place = static_cast<Byte*>(records);
  for (got = 0; got < count;) {
    const std::uint32_t recno = first + got;
    const Result result = read_record(table, recno, place + got * length);
    if (!ok(result)) return result;
    ++got;
    if (table.caller_offset() != 0 || table.reads_from_file()) continue;
    const std::span<const Byte> behind = table.cache.behind(recno);
    const std::size_t more = std::min<std::size_t>(count - got, behind.size() / length);
    if (more == 0) continue;
    std::memcpy(place + got * length, behind.data(), more * length);
    got += static_cast<std::uint32_t>(more);
    table.current = first + got - 1;
  }
  return Result::ok;
}

void expect_records(const Table& table, std::span<const std::uint32_t> recnos) {
  if (table.reads_from_file()) return;
  for (const std::uint32_t recno : recnos) {
    if (is_number(recno)) table.cache.prefetch(recno);
  }
}

Result reread_record(Table& table, std::uint32_t recno, void* record) {
  return reread(table, recno, table.caller_offset(), record);
}

Result reread_whole_record(Table& table, std::uint32_t recno, Byte* record) {
  return reread(table, recno, 0, record);
}

Result lock_and_read_record(Table& table, std::uint32_t recno, void* record) {
  const bool held_before = holds_record_lock(table, recno);
  Result result = lock_record(table, recno);
  if (!ok(result)) return result;
  result = reread_record(table, recno, record);
  if (!ok(result) && !held_before) {
    const std::int32_t detail = table.block->detail;
    (void)unlock_record(table, recno);
    table.block->detail = detail;
  }
  return result;
}

Result record_status(Table& table, std::uint32_t recno, char& flag) {
  BlockCache::Load load;
  if (const Result result = check_number(table, recno, kRecsta, load); !ok(result)) return result;
  RecordFile& records = table.records;
  if ((load == BlockCache::Load::cached && table.reads_from_file()) || !table.cache.has_buffers()) {
    if (!records.file.read_exactly(records.offset_of(recno), &flag, 1).ok()) {
      return fail(table.block, Result::io, kRecsta.detail(4));
    }
    table.cache.drop(recno);  // the file has been looked at, so the cache must not be older
  } else {
    Byte* place = nullptr;
    if (const Result result = table.cache.find(recno, load, place); !ok(result)) return result;
    flag = static_cast<char>(*place);
  }
  table.current = recno;
  return Result::ok;
}

}  // namespace vqdb::table
