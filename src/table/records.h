// Records of an open table, by number from 1. A host's record is record_length bytes, or without
// the deletion flag when run-time flag 1 of the block is set; a whole record always has it.
#ifndef VQDBSYS_TABLE_RECORDS_H_
#define VQDBSYS_TABLE_RECORDS_H_

#include <cstdint>
#include <span>

#include "frame/bytes.h"
#include "table/table.h"

namespace vqdb::table {

inline constexpr char kLive = ' ';
inline constexpr char kDeleted = '*';

// Details of the block cache (10061 to 10064, 341) may come from every operation below.

// Details 262 (number below 1), 263 (beyond the last record), 264 and 265 (not read).
Result read_record(Table& table, std::uint32_t recno, void* record);
Result read_whole_record(Table& table, std::uint32_t recno, Byte* record);
// Records that follow one another, up to the first that cannot be read; how many is told.
Result read_records(Table& table, std::uint32_t first, std::uint32_t count, void* records,
                    std::uint32_t& got);
// These will be read soon: those that are in the buffers are fetched into the processor's cache.
void expect_records(const Table& table, std::span<const std::uint32_t> recnos);
// One record from the file, past the buffers, unless changes wait there; a number beyond the last
// record as known is looked for in the file as well. For a record that is locked: what was read
// before may have changed.
Result reread_record(Table& table, std::uint32_t recno, void* record);
Result reread_whole_record(Table& table, std::uint32_t recno, Byte* record);
// The deletion flag of the record. Details 382 to 384, as for reading.
Result record_status(Table& table, std::uint32_t recno, char& flag);

// The number of the new record goes to the block's record_number, which is -1 after a failure.
// Details 323 (read-only), 324 and 325 (append lock), 327 (no room below the locked bytes), 331 to
// 333 (record, fields or end mark not written), 335 (count not written), 353 (the record is in, but
// the append lock could not be released), 423 and 424 (count not read).
Result append_record(Table& table, const void* record);
// A whole record.
Result append_copy(Table& table, const Byte* record);
// To a table in the making, which no lock scheme bounds yet.
Result append_whole_record(Table& table, const Byte* record);

// Details 463 (read-only), 464 (number below 1), 465 (beyond the last record), 467 (not
// written), 10064 (the file lacks it), and those of record_lock_status.
Result update_record(Table& table, std::uint32_t recno, const void* record);
Result delete_record(Table& table, std::uint32_t recno);
Result recall_record(Table& table, std::uint32_t recno);

// Exclusive tables only. What waits in the buffers is written first, then the records behind are
// moved in the file. Whatever stops that, each record stays in the file, one perhaps twice. Details
// 272 and 402 (shared), 273 and 403 (read-only), 274 and 404 (number), 275 and 405 (no memory), and
// those of append_record and flush.
Result insert_record(Table& table, std::uint32_t recno, const void* record);
Result remove_record(Table& table, std::uint32_t recno);

// Details 242 (a block not written) and 243 (the header not written).
Result flush(Table& table);
// Flushes, then empties every buffer.
Result clear_buffers(Table& table);
// The same, and in a shared mode takes the count from the file: for work under the file's lock,
// where what others did before it has to be seen. Details 423 and 424 as well.
Result catch_up(Table& table);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_RECORDS_H_
