// Writing the index list of a table.
#ifndef VQDB_INDEX_LIST_H_
#define VQDB_INDEX_LIST_H_

#include <string>
#include <vector>

#include "index_group.h"

namespace tool {

// Whether the list is marked: a pack of the table goes on, or has not come to its end.
bool is_marked(const std::string& table_path);

// Whether the list of the table can hold the index.
bool can_list(const std::string& table_path, const IndexFile& file);

// Makes the group the table's index list, with names as seen from the table's folder; without
// indexes there is no list. The library writes it, so that others who change it wait. REQUIRES that
// the caller holds the table (TableLock) since it has read the group. Ends the command when the
// list is marked or cannot hold a name.
void write_index_list(const std::string& table_path, const std::vector<IndexFile>& group);

}  // namespace tool

#endif  // VQDB_INDEX_LIST_H_
