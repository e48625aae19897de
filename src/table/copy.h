// The structures of tables that are not open: copied to a new table, and compared.
#ifndef VQDBSYS_TABLE_COPY_H_
#define VQDBSYS_TABLE_COPY_H_

#include "frame/result.h"

namespace vqdb::table {

// Creates table `to` with the fields of table `from` and no records, and tells whether it has memo
// fields. Details 141 (a name missing, or both the same), 151 to 164 of create, those of open.
Result copy_structure(VqBlock& block, const char* from, const char* to, bool& has_memo);

// ok when both tables have the same fields, their names in any case; else mismatch, detail 191.
Result compare_structures(VqBlock& block, const char* first, const char* second);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_COPY_H_
