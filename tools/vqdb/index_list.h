// Writing the index list of a table.
#ifndef VQDB_INDEX_LIST_H_
#define VQDB_INDEX_LIST_H_

#include <string>
#include <vector>

#include "index_group.h"

namespace tool {

// Whether the list is marked: a pack of the table goes on, or has not come to its end.
bool is_marked(const std::string& table_path);

// The table's index list, with names as seen from the table's folder; without indexes there is no
// list. Ends the command when it is marked.
void write_index_list(const std::string& table_path, const std::vector<IndexFile>& group);

}  // namespace tool

#endif  // VQDB_INDEX_LIST_H_
