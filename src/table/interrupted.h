// A compaction that was cut off between the two files that it replaces.
#ifndef VQDBSYS_TABLE_INTERRUPTED_H_
#define VQDBSYS_TABLE_INTERRUPTED_H_

#include <string>

#include "frame/result.h"

namespace vqdb::table {

// The journal of the table and its memo file.
std::string journal_of(const std::string& table_path);

// Puts in place what a journal beside the table names, so that table and memo file are of one
// time again. Detail 10049 when that cannot be done.
Result complete_interrupted(VqBlock& block, const std::string& table_path);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_INTERRUPTED_H_
