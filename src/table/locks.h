// Byte-range locks far beyond the data, by the table's lock scheme: the file, the append position
// and single records. A request never waits.
#ifndef VQDBSYS_TABLE_LOCKS_H_
#define VQDBSYS_TABLE_LOCKS_H_

#include <cstdint>

#include "platform/file.h"
#include "table/table.h"

namespace vqdb::table {

Result lock_append(Table& table);
Result unlock_append(Table& table);
bool holds_append_lock(const Table& table);
Result lock_record(Table& table, std::uint32_t recno);
Result unlock_record(Table& table, std::uint32_t recno);
// Releases the lock taken last.
Result pop_lock(Table& table);
// Any lock of the caller's (file or record).
bool holds_any_lock(const Table& table);
// ok: this handle holds the record (or the file); not_locked: nobody does; locked or file_locked:
// somebody else does.
Result record_lock_status(Table& table, std::uint32_t recno);

// The file lock of any file (an index or memo file) by a scheme; schemes 4 to 6 have no locks and
// grant at once. A refusal leaves the system's number in the block. The caller remembers what it
// holds.
Result lock_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme);
Result unlock_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme);

std::uint32_t lock_scheme(const Table& table);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_LOCKS_H_
