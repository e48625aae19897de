// Byte-range locks beyond the data, by the table's lock scheme: the file, the append position and
// single records. A request never waits. Every refusal leaves the system's number in the
// block. Who has the file excludes every record lock and append of others. The file's and the
// records' locks of a handle form a stack.
#ifndef VQDBSYS_TABLE_LOCKS_H_
#define VQDBSYS_TABLE_LOCKS_H_

#include <cstdint>
#include <string>

#include "platform/file.h"
#include "table/table.h"

namespace vqdb::table {

std::uint32_t lock_scheme(const Table& table);
// Whether the table's scheme has lock operations; without them every request below is refused with
// -13, and shared tables are changed unlocked.
bool has_lock_operations(const Table& table);

// Locking what the handle holds already changes nothing. Details 482 (no lock operations), 483
// (somebody else has the file or appends), 484 (somebody else has a record), 485 (system), 486 (no
// memory).
Result lock_file(Table& table);
// The same for work on the table as a whole: without lock operations nothing is taken, and
// whatever somebody else has locked is file_locked.
Result claim_table(Table& table);
// Details 502 (number out of range), 503 (no lock operations), 504 (somebody else has the record),
// 505 (somebody else has the file), 506 (no memory), 507 (system).
Result lock_record(Table& table, std::uint32_t recno);
// Locks a record, then reads it from the file into the host's layout; lets go of it again when it
// cannot be read.
Result lock_and_read_record(Table& table, std::uint32_t recno, void* record);
// Details 492 (no lock operations), 493 (not held), 494 (system).
Result unlock_file(Table& table);
Result unlock_record(Table& table, std::uint32_t recno);
// Releases the lock taken last.
Result pop_lock(Table& table);

// Details 324 (somebody else appends or has the file), 325 (system), 326 (no lock operations).
Result lock_append(Table& table);
// Details 326, 352 (not held), 353 (system).
Result unlock_append(Table& table);
bool holds_append_lock(const Table& table);

// Locks on records and on the file.
std::uint32_t lock_count(const Table& table);
// Stores up to max of the locked record numbers, the oldest lock first; returns how many there are.
std::uint32_t list_record_locks(const Table& table, std::uint32_t* records, std::uint32_t max);
// The lock taken last: a record number, or 0 for the file. Detail 493 (none).
Result top_lock(const Table& table, std::uint32_t& lock);
bool holds_record_lock(const Table& table, std::uint32_t recno);
// Whether this handle has the record locked, or the whole file.
bool may_change_record(const Table& table, std::uint32_t recno);
// Any lock of the caller's (file or record).
bool holds_any_lock(const Table& table);

// ok: this handle holds the record (or the file); not_locked: nobody does, which is no failure and
// leaves no detail code; locked: somebody else does; lock_unknown: the system cannot tell. Details
// 10451 (number), 10452 (no lock operations), 10453 (somebody else has it), 10454 (system).
Result record_lock_status(Table& table, std::uint32_t recno);
Result file_lock_status(Table& table);

// The file lock of any file (an index or memo file) by a scheme; where the scheme has no locks it
// lies at scheme 0's bytes, since such a file must not be changed by two at once. The caller
// remembers what it holds. Details 10431 (somebody else has the file), 10432 (system), 10433
// (unlocking failed).
Result lock_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme,
                       platform::Sharing sharing = platform::Sharing::exclusive);
Result unlock_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme);
// Whether a lock that somebody else has would refuse such a one: file_locked, detail 10431.
// REQUIRES that this file has none.
Result test_whole_file(VqBlock& block, platform::File& file, std::uint32_t scheme,
                       platform::Sharing sharing = platform::Sharing::exclusive);
// Who waits to change such a file asks those who read it to let him come first, by a byte that has
// no other meaning there: that of record 1. Such a request never waits, nor does it matter when it
// fails.
bool ask_for_turn(platform::File& file, std::uint32_t scheme);
void take_back_request(platform::File& file, std::uint32_t scheme);
bool somebody_asks_for_turn(platform::File& file, std::uint32_t scheme);
// The file lock of a table that no handle has open through `file`: nobody else holds a record, or
// appends. It lasts until the file is closed. Asked for again after a refusal, it goes on where it
// came to: whoever waits for records to be let go keeps new ones from being locked. Schemes 4 to 6
// grant at once. Details 10431, 10432.
struct UnopenedLock {
  bool file = false;
  bool append = false;
};
Result lock_unopened_table(VqBlock& block, platform::File& file, std::uint32_t scheme,
                           UnopenedLock& held);

// Takes the lock of a file whose place another will take, by the block's scheme; `file` holds it
// until it is closed. Without a file there, or one that may not be written, nothing is taken.
// Nor is anything of a table file where the scheme has no locks. Whatever somebody else has locked
// is file_locked. Details 10431, 10432, and `unopened`, as where the other cannot be made.
Result claim_table_at(VqBlock& block, const std::string& path, platform::File& file,
                      std::int32_t unopened);
Result claim_file_at(VqBlock& block, const std::string& path, platform::File& file,
                     std::int32_t unopened);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_LOCKS_H_
