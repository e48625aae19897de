// The dD family: tables and their records.
#include "table/table.h"

#include <algorithm>
#include <cstring>

#include "exports/on_table.h"
#include "table/create.h"
#include "table/describe.h"
#include "table/records.h"
#include "vqdbsys.h"

namespace {

using vqdb::code;
using vqdb::fail;
using vqdb::ok;
using vqdb::Operation;
using vqdb::Result;
using vqdb::exports::guarded;
using vqdb::exports::on_table;
using vqdb::exports::on_table_patiently;
using vqdb::table::Table;
using vqdb::table::tables;
namespace table = vqdb::table;

constexpr Operation kCreat{15};
constexpr Operation kDate{16};
constexpr Operation kFields{18};
constexpr Operation kFldno{22};
constexpr Operation kFlush{24};
constexpr Operation kGetrec{26};
constexpr Operation kInsrec{27};
constexpr Operation kMode{28};
constexpr Operation kClose{30};
constexpr Operation kApprec{32};
constexpr Operation kRmrec{40};
constexpr Operation kReccnt{42};
constexpr Operation kUpdrec{46};
constexpr Operation kOpen{1004};

Result null_argument(VqBlock* block, const Operation& operation) {
  return fail(block, Result::out_of_range, operation.detail(0));
}

void put(std::int32_t* out, std::int32_t value) {
  if (out != nullptr) *out = value;
}

// The field of this number; null when there is none.
const table::Field* find(const Table& table, std::int32_t number) {
  const auto fields = table::fields(table);
  const auto index = static_cast<std::size_t>(number) - 1;
  return number > 0 && index < fields.size() ? &fields[index] : nullptr;
}

Result unknown_field(Table& table) {
  return fail(table::block_of(table), Result::out_of_range, kFldno.detail(2));
}

}  // namespace

extern "C" {

int32_t VQ_CALL dDcreat(VqBlock* block, const char* name, int32_t count,
                        const char* const* fields) {
  if (block == nullptr || name == nullptr || fields == nullptr) {
    return code(null_argument(block, kCreat));
  }
  return guarded([&] { return table::create(*block, name, count, fields); });
}

VqTable* VQ_CALL dDopen(VqBlock* block, const char* name, uint32_t mode, int32_t buffers) {
  if (block == nullptr) return nullptr;
  Table* opened = nullptr;
  const std::int32_t result = guarded([&] {
    if (name == nullptr) return null_argument(block, kOpen);
    opened = table::open(*block, name, mode, buffers);
    return static_cast<Result>(opened == nullptr ? block->result : 0);
  });
  if (opened == nullptr) block->result = result;
  return reinterpret_cast<VqTable*>(opened);
}

int32_t VQ_CALL dDclose(VqTable* table) {
  return on_table(table, kClose, [](Table& t) { return table::close(t); });
}

int32_t VQ_CALL dDmode(VqBlock* block, const char* name) {
  if (block == nullptr || name == nullptr) return code(null_argument(block, kMode));
  return guarded([&] {
    std::int32_t kind = 0;
    const Result result = table::kind_of(*block, name, kind);
    return ok(result) ? kind : code(result);
  });
}

int32_t VQ_CALL dDfields(VqTable* table) {
  return on_table(table, kFields, [](Table& t) { return table::fields(t).size(); });
}

int32_t VQ_CALL dDfldnm(VqTable* table, int32_t number, char* name) {
  return on_table(table, kFldno, [=](Table& t) {
    if (name == nullptr) return null_argument(&table::block_of(t), kFldno);
    const table::Field* const field = find(t, number);
    if (field == nullptr) return unknown_field(t);
    std::strcpy(name, field->name.data());
    return Result::ok;
  });
}

int32_t VQ_CALL dDfield(VqTable* table, int32_t number, VqField* field) {
  return on_table(table, kFldno, [=](Table& t) {
    if (field == nullptr) return null_argument(&table::block_of(t), kFldno);
    const table::Field* const found = find(t, number);
    if (found == nullptr) return unknown_field(t);
    *field = {{}, found->type, found->length, found->decimals, found->offset};
    std::copy(found->name.begin(), found->name.end(), field->name);
    return Result::ok;
  });
}

int32_t VQ_CALL dDfldno(VqTable* table, const char* name) {
  return on_table(table, kFldno, [=](Table& t) -> std::int32_t {
    if (name == nullptr) return code(null_argument(&table::block_of(t), kFldno));
    const table::Field* const field = table::find_field(t, name);
    if (field == nullptr) return code(unknown_field(t));
    return static_cast<std::int32_t>(field - table::fields(t).data()) + 1;
  });
}

int32_t VQ_CALL dDreclen(VqTable* table) {
  const Table* const open = tables().find_unsigned(table);
  return open == nullptr ? 0 : static_cast<std::int32_t>(table::record_length(*open));
}

int32_t VQ_CALL dDreccnt(VqTable* table, uint32_t* count) {
  return on_table(table, kReccnt, [=](Table& t) {
    return count == nullptr ? null_argument(&table::block_of(t), kReccnt)
                            : table::record_count(t, *count);
  });
}

int32_t VQ_CALL dDdate(VqTable* table, int32_t* month, int32_t* day, int32_t* year) {
  return on_table(table, kDate, [=](Table& t) {
    const vqdb::convert::Date date = table::last_update(t);
    put(month, date.month);
    put(day, date.day);
    put(year, date.year);
    return Result::ok;
  });
}

int32_t VQ_CALL dDbuffs(VqBlock* block, const char* name, int32_t buffers) {
  if (block == nullptr || name == nullptr) return code(null_argument(block, kOpen));
  return guarded([&] {
    std::int32_t bytes = 0;
    const Result result = table::memory_need_of(*block, name, buffers, bytes);
    return ok(result) ? bytes : code(result);
  });
}

int32_t VQ_CALL dDgetrec(VqTable* table, uint32_t recno, void* record) {
  return on_table(table, kGetrec, [=](Table& t) {
    return record == nullptr ? null_argument(&table::block_of(t), kGetrec)
                             : table::read_record(t, recno, record);
  });
}

int32_t VQ_CALL dDgetrecs(VqTable* table, uint32_t first, uint32_t count, void* records,
                          uint32_t* got) {
  if (got != nullptr) *got = 0;
  return on_table(table, kGetrec, [=](Table& t) {
    return records == nullptr || got == nullptr
               ? null_argument(&table::block_of(t), kGetrec)
               : table::read_records(t, first, count, records, *got);
  });
}

int32_t VQ_CALL dDapprec(VqTable* table, const void* record) {
  // Whatever refuses the record, nobody shall take the number of the one before for its own.
  if (VqBlock* const block = tables().block_of(table); block != nullptr) block->record_number = -1;
  return on_table_patiently(table, kApprec, [=](Table& t) {
    return record == nullptr ? null_argument(&table::block_of(t), kApprec)
                             : table::append_record(t, record);
  });
}

int32_t VQ_CALL dDupdrec(VqTable* table, uint32_t recno, const void* record) {
  return on_table_patiently(table, kUpdrec, [=](Table& t) {
    return record == nullptr ? null_argument(&table::block_of(t), kUpdrec)
                             : table::update_record(t, recno, record);
  });
}

int32_t VQ_CALL dDdelrec(VqTable* table, uint32_t recno) {
  return on_table_patiently(table, kUpdrec,
                            [=](Table& t) { return table::delete_record(t, recno); });
}

int32_t VQ_CALL dDrclrec(VqTable* table, uint32_t recno) {
  return on_table_patiently(table, kUpdrec,
                            [=](Table& t) { return table::recall_record(t, recno); });
}

int32_t VQ_CALL dDinsrec(VqTable* table, uint32_t recno, const void* record) {
  return on_table(table, kInsrec, [=](Table& t) {
    return record == nullptr ? null_argument(&table::block_of(t), kInsrec)
                             : table::insert_record(t, recno, record);
  });
}

int32_t VQ_CALL dDrmrec(VqTable* table, uint32_t recno) {
  return on_table(table, kRmrec, [=](Table& t) { return table::remove_record(t, recno); });
}

int32_t VQ_CALL dDrecsta(VqTable* table, uint32_t recno) {
  constexpr Operation kRecsta{38};
  Table* const open = tables().find_unsigned(table);
  if (open == nullptr) {
    // A closed handle has no records; an address that never was a handle has no block either.
    VqBlock* const block = tables().block_of(table);
    if (block == nullptr) return code(Result::bad_handle);
    return code(fail(block, Result::out_of_range, kRecsta.detail(recno < 1 ? 2 : 3)));
  }
  return guarded([&]() -> std::int32_t {
    char flag = 0;
    const Result result = table::record_status(*open, recno, flag);
    return ok(result) ? static_cast<unsigned char>(flag) : code(result);
  });
}

int32_t VQ_CALL dDflush(VqTable* table) {
  return on_table(table, kFlush, [](Table& t) { return table::flush(t); });
}

int32_t VQ_CALL dDclearbuf(VqTable* table) {
  return on_table(table, kUpdrec, [](Table& t) { return table::clear_buffers(t); });
}

}  // extern "C"
