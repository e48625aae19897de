#include "table/table.h"

#include <algorithm>

#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kReccnt{42};

constinit HandlePool<Table> pool;

platform::Outcome find_size(Table& table, std::uint64_t& bytes) {
  platform::File& file = table.records.file;
  const LockState& locks = table.locks;
  const bool nobody_appends = locks.append || locks.holds_file();
  const bool is_known = nobody_appends || (table.is_of_this_machine && locks.count() > 0);
  return is_known ? file.known_size(bytes) : file.size(bytes);
}

bool counts_by_size(const Table& table) { return (table.block->kind & dialect::kCountBySize) != 0; }

}  // namespace

HandlePool<Table>& tables() { return pool; }
Table* find_live(const void* address) { return pool.find(address); }

std::span<const Field> fields(const Table& table) {
  return {reinterpret_cast<const Field*>(table.field_memory.get()), table.field_count};
}

const Field* find_field(const Table& table, std::string_view name) {
  return table.field_names.find(name);
}

std::uint32_t record_length(const Table& table) { return table.records.record_length; }
std::uint32_t open_mode_of(const Table& table) { return table.mode; }
VqBlock& block_of(const Table& table) { return *table.block; }
const std::string& path_of_table(const Table& table) { return table.path; }
std::uint32_t current_record(const Table& table) { return table.current; }
void set_current_record(Table& table, std::uint32_t recno) { table.current = recno; }
std::uint32_t known_record_count(const Table& table) { return table.records.count; }
convert::Date last_update(const Table& table) { return table.updated; }

Result mark_production(Table& table, std::int32_t detail) {
  if (table.production || table.is_read_only()) return Result::ok;
  constexpr Byte kMark = 1;
  if (!table.records.file.write_at(kProductionOffset, &kMark, 1).ok()) {
    return fail(table.block, Result::io, detail);
  }
  table.production = true;
  return Result::ok;
}

Result record_count(Table& table, std::uint32_t& count) {
  if ((table.mode & open_mode::kSharedReread) != 0) {
    if (const Result result = refresh_count(table); !ok(result)) return result;
  }
  count = table.records.count;
  return Result::ok;
}

Result refresh_count(Table& table) {
  RecordFile& records = table.records;
  if (table.is_shared() && counts_by_size(table)) {
    std::uint64_t bytes = 0;
    // A file without its header is one that was replaced.
    if (!find_size(table, bytes).ok() || bytes < records.header_length) {
      return fail(table.block, Result::io, kReccnt.detail(4));
    }
    const std::uint64_t data = bytes - records.header_length;
    records.count = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(data / records.record_length, UINT32_MAX));
    return Result::ok;
  }
  std::array<Byte, 4> bytes;
  if (!records.file.read_exactly(kCountOffset, bytes.data(), bytes.size()).ok()) {
    return fail(table.block, Result::io, kReccnt.detail(3));
  }
  records.count = load_le32(bytes.data());
  return Result::ok;
}

Result check_stored(Table& table, std::uint32_t recno) {
  std::uint64_t bytes = 0;
  if (!find_size(table, bytes).ok()) {
    return fail(table.block, Result::io, kReccnt.detail(4));
  }
  return bytes >= table.records.offset_of(recno + 1) ? Result::ok
                                                     : fail(table.block, Result::io, kShortFile);
}

platform::Outcome cut_behind(Table& table, std::uint32_t last) {
  if (!counts_by_size(table)) return {};
  return table.records.file.truncate(table.records.offset_of(last + 1) + 1);
}

Result write_count(Table& table, std::uint32_t count, std::int32_t detail) {
  const convert::Date today = convert::today();
  std::array<Byte, kDateAndCountBytes> bytes;
  encode_date_and_count(today, count, bytes);
  if (!table.records.file.write_at(kDateOffset, bytes.data(), bytes.size()).ok()) {
    return fail(table.block, Result::io, detail);
  }
  table.updated = today;
  table.stored_count = count;
  return Result::ok;
}

}  // namespace vqdb::table
