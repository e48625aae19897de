// Writing the index list of a table.
#ifndef VQDB_INDEX_LIST_H_
#define VQDB_INDEX_LIST_H_

#include <string>
#include <vector>

#include "index_group.h"

namespace tool {

// The table's index list, with names as seen from the table's folder; without indexes there is no
// list.
void write_index_list(const std::string& table_path, const std::vector<IndexFile>& group);

}  // namespace tool

#endif  // VQDB_INDEX_LIST_H_
