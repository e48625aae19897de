// Rewriting a table without its deleted records.
#ifndef VQDBSYS_TABLE_PACK_H_
#define VQDBSYS_TABLE_PACK_H_

#include "frame/result.h"

namespace vqdb::table {

// The table must not be open; what of it somebody else has locked is file_locked. It is replaced in
// one step once its packed copy is complete. Reports progress in records. Details 291 (no temporary
// file), 292 (no memory), 293 (the packed copy could not take the table's place), 294 (its header),
// 10071 (cancelled) and those of open, create, lock_file, read_record and append_record.
Result pack(VqBlock& block, const char* name);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_PACK_H_
