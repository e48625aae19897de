// The structures of tables that are not open: copied to a new table, and compared.
#ifndef VQDBSYS_TABLE_COPY_H_
#define VQDBSYS_TABLE_COPY_H_

#include "frame/result.h"
#include "table/create.h"

namespace vqdb::table {

// Gives a table to be called `to` the fields of table `from`. Details 141 (a name missing, or both
// the same), those of open and of NewTable.
Result add_fields_of(VqBlock& block, const char* from, const char* to, NewTable& table);
// Creates table `to` with the fields of table `from` and no records.
Result copy_structure(VqBlock& block, const char* from, const char* to);

// ok when both tables have the same fields, their names in any case; else mismatch, detail 191.
Result compare_structures(VqBlock& block, const char* first, const char* second);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_COPY_H_
