// Packing a table together with the indexes of its index list.
#ifndef VQDBSYS_API_PACK_H_
#define VQDBSYS_API_PACK_H_

#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// Packs the table, then builds every index of its list again. From before the table is replaced
// until the last index is built the list carries a mark with which nobody opens the group, so that
// whatever happens between, a crash included, no index is used with record numbers of before;
// packing again finishes the work. Detail 6361 (the list cannot be marked), and those of
// read_index_list, table::pack, lock_file, join.h and rebuild_indexes.
Result pack_database(VqBlock& block, const char* name);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_PACK_H_
