// The dDlk family: locks on tables and records.
#include <algorithm>

#include "exports/on_table.h"
#include "table/locks.h"
#include "vqdbsys.h"

namespace {

using vqdb::code;
using vqdb::fail;
using vqdb::Operation;
using vqdb::Result;
using vqdb::exports::on_table;
using vqdb::exports::on_table_patiently;
using vqdb::table::Table;
using vqdb::table::tables;
namespace table = vqdb::table;

constexpr Operation kAppend{32};
constexpr Operation kUnlockAppend{35};
constexpr Operation kFile{48};
constexpr Operation kUnlock{49};
constexpr Operation kRecord{50};

Result null_argument(Table& table) {
  return fail(table::block_of(table), Result::out_of_range, kRecord.detail(0));
}

}  // namespace

extern "C" {

int32_t VQ_CALL dDlkfil(VqTable* table) {
  return on_table_patiently(table, kFile, [](Table& t) { return table::lock_file(t); });
}

int32_t VQ_CALL dDulkfil(VqTable* table) {
  return on_table(table, kUnlock, [](Table& t) { return table::unlock_file(t); });
}

int32_t VQ_CALL dDlkrec(VqTable* table, uint32_t recno) {
  return on_table_patiently(table, kRecord, [=](Table& t) { return table::lock_record(t, recno); });
}

int32_t VQ_CALL dDulkrec(VqTable* table, uint32_t recno) {
  return on_table(table, kUnlock, [=](Table& t) { return table::unlock_record(t, recno); });
}

int32_t VQ_CALL dDlkgetr(VqTable* table, uint32_t recno, void* record) {
  return on_table_patiently(table, kRecord, [=](Table& t) {
    return record == nullptr ? null_argument(t) : table::lock_and_read_record(t, recno, record);
  });
}

int32_t VQ_CALL dDlklist(VqTable* table, uint32_t* records, int32_t max) {
  return on_table(table, kRecord, [=](Table& t) -> std::int32_t {
    if (records == nullptr && max > 0) return code(null_argument(t));
    const auto room = static_cast<std::uint32_t>(std::max(max, 0));
    return static_cast<std::int32_t>(table::list_record_locks(t, records, room));
  });
}

int32_t VQ_CALL dDlktop(VqTable* table, uint32_t* recno) {
  return on_table(table, kRecord, [=](Table& t) {
    return recno == nullptr ? null_argument(t) : table::top_lock(t, *recno);
  });
}

int32_t VQ_CALL dDlkcnt(VqTable* table) {
  return on_table(table, kRecord, [](Table& t) { return table::lock_count(t); });
}

int32_t VQ_CALL dDpoplk(VqTable* table) {
  return on_table(table, kUnlock, [](Table& t) { return table::pop_lock(t); });
}

int32_t VQ_CALL dDlkapp(VqTable* table) {
  return on_table_patiently(table, kAppend, [](Table& t) { return table::lock_append(t); });
}

int32_t VQ_CALL dDulkapp(VqTable* table) {
  return on_table(table, kUnlockAppend, [](Table& t) { return table::unlock_append(t); });
}

int32_t VQ_CALL dDlkrsta(VqTable* table, uint32_t recno) {
  return on_table(table, kRecord, [=](Table& t) { return table::record_lock_status(t, recno); });
}

int32_t VQ_CALL dDlkfsta(VqTable* table) {
  return on_table(table, kFile, [](Table& t) { return table::file_lock_status(t); });
}

}  // extern "C"
