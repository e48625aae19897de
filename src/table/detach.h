// Taking a table file, which is not open, away from its production index.
#ifndef VQDBSYS_TABLE_DETACH_H_
#define VQDBSYS_TABLE_DETACH_H_

#include "frame/result.h"

namespace vqdb::table {

// Clears the production index flag; writes nothing when it is clear. Details 101 (short file), 102
// (no table), 104 (not written), and those of open_file.
Result detach_production_index(VqBlock& block, const char* name);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_DETACH_H_
