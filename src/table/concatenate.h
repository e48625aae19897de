// Appending all records of one table file to another; neither is open.
#ifndef VQDBSYS_TABLE_CONCATENATE_H_
#define VQDBSYS_TABLE_CONCATENATE_H_

#include "frame/result.h"

namespace vqdb::table {

// Appends the source's records to the target, or makes the target a copy of the source when there
// is none. What of the target somebody else has locked is
// file_locked. A failure leaves the target's records, count and date as they were. Reports progress
// in pieces of 16384 bytes. Details 341 source not opened, 342 no memory, 343 target not opened,
// 344 source header not read, 345 target not created, 346 and 347 not opened again, 348 and 349
// headers not read, 350 the target would reach the locked bytes, 351 record lengths differ, 352 end
// mark not restored, 353 count not written, 357 not written, 358 source too short, 10071 cancelled;
// and those of compare_structures, open and lock_file.
Result concatenate(VqBlock& block, const char* target, const char* source);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_CONCATENATE_H_
