// Changes to the records of a database that keep every index member in step. An index file that
// cannot be entered stops a change before anything is written. After any other failure nothing is
// undone: what was written stays.
#ifndef VQDBSYS_API_UPDATES_H_
#define VQDBSYS_API_UPDATES_H_

#include <cstdint>

#include "api/database.h"
#include "frame/result.h"

namespace vqdb::api {

// Appends the record, then inserts its keys. `recno` is set as soon as the table has the record. A
// key that a unique index holds already is no failure. Detail 6201.
Result append_record(Database& database, const void* record, std::uint32_t& recno);

// Rewrites the record, then moves the keys that changed. Details 6211 and 6212.
Result update_record(Database& database, std::uint32_t recno, const void* record);

// Set and clear the deletion mark. The keys stay, but for those of members that read the mark.
Result delete_record(Database& database, std::uint32_t recno);
Result recall_record(Database& database, std::uint32_t recno);

// Writes the table's and every index file's changes out; the first failure is returned.
Result flush(Database& database);
// The same for one member; a tag's changes are its file's. A memo file has nothing to write.
// Details 6340 (no live member) and 6341 (no member kind).
Result flush_member(const VqMember& copy);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_UPDATES_H_
