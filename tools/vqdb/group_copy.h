// Memo file and indexes of a table that is made from another.
#ifndef VQDB_GROUP_COPY_H_
#define VQDB_GROUP_COPY_H_

#include <string>
#include <vector>

#include "index_group.h"
#include "new_table.h"
#include "table.h"

namespace tool {

// Copies the memo file to the new table's name, where there is one.
void copy_memo_file(const Table& from, const std::string& to);
// For a table with the same records in the same places: copies the index files. Returns the number
// of indexes and writes the index list.
std::size_t copy_indexes(const Table& from, const std::vector<IndexFile>& group,
                         const std::string& to, NewTable& made);
// For other places: builds the same indexes.
std::size_t build_indexes(const Table& from, const std::vector<IndexFile>& group,
                          const std::string& to, NewTable& made);

}  // namespace tool

#endif  // VQDB_GROUP_COPY_H_
