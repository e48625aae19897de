// Records of an open table, by number from 1. A caller's record is record_length bytes, or without
// the deletion flag when run-time flag 1 of the block is set.
#ifndef VQDBSYS_TABLE_RECORDS_H_
#define VQDBSYS_TABLE_RECORDS_H_

#include <cstdint>

#include "table/table.h"

namespace vqdb::table {

inline constexpr char kLive = ' ';
inline constexpr char kDeleted = '*';

Result read_record(Table& table, std::uint32_t recno, void* record);
// The number of the new record goes to the block's record_number.
Result append_record(Table& table, const void* record);
Result update_record(Table& table, std::uint32_t recno, const void* record);
Result delete_record(Table& table, std::uint32_t recno);
Result recall_record(Table& table, std::uint32_t recno);
Result insert_record(Table& table, std::uint32_t recno, const void* record);
Result remove_record(Table& table, std::uint32_t recno);
// The deletion flag of the record.
Result record_status(Table& table, std::uint32_t recno, char& flag);
Result flush(Table& table);
// Flushes, then empties every buffer.
Result clear_buffers(Table& table);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_RECORDS_H_
