// An open table: what its header and descriptors say, and the block cache through which its
// records are reached. records.h reads and changes records, locks.h locks them, create.h makes
// tables.
#ifndef VQDBSYS_TABLE_TABLE_H_
#define VQDBSYS_TABLE_TABLE_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "convert/calendar.h"
#include "frame/handle_pool.h"
#include "frame/result.h"
#include "table/field.h"

namespace vqdb::table {

class Table;

HandlePool<Table>& tables();
// The live table at this address, else null; for rooms that do not know what a table is made of.
Table* find_live(const void* address);

// Opens a table (its name without or with extension "DBF"). Null on failure, with the result code
// in the block's result field and the detail code of open_file (10421, 10422) or: 311 short header,
// 312 header or record length, 10042 record length, 10043 no memory, 10044 short descriptors,
// 10045 encrypted, 10046 version, 10047 no memory for the buffers, 10048 descriptors that do not
// fit the record.
Table* open(VqBlock& block, const char* name, std::uint32_t mode, std::int32_t buffers);
Table* open_path(VqBlock& block, const std::string& path, std::uint32_t mode, std::int32_t buffers);
// Flushes, closes and releases; the handle is gone whatever the result.
Result close(Table& table);

// What other rooms ask of a table. The record length counts the deletion flag.
std::span<const Field> fields(const Table& table);
// The field of this name, any case; null when there is none.
const Field* find_field(const Table& table, std::string_view name);
std::uint32_t record_length(const Table& table);
std::uint32_t open_mode_of(const Table& table);
VqBlock& block_of(const Table& table);
// The path under which the table was opened.
const std::string& path_of_table(const Table& table);
// Notes in the header that the table has a production index; nothing to do when it says so already,
// or when the table is read-only.
Result mark_production(Table& table, std::int32_t detail);
// The record number last read or written; 0 before the first.
std::uint32_t current_record(const Table& table);
void set_current_record(Table& table, std::uint32_t recno);
// The count, first re-read from the file in open mode bit 2.
Result record_count(Table& table, std::uint32_t& count);
// The count as last known, without looking at the file.
std::uint32_t known_record_count(const Table& table);
// From the header, the month and day as they stand there.
convert::Date last_update(const Table& table);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_TABLE_H_
