// Building the indexes of an open database: a new one that joins the group, and all of them again.
#ifndef VQDBSYS_API_BUILDING_H_
#define VQDBSYS_API_BUILDING_H_

#include <cstdint>

#include "api/database.h"
#include "frame/result.h"
#include "index/driver_table.h"
#include "vqdbsys.h"

namespace vqdb::api {

// Makes an index file, or a tag in one, with the keys of the table's records; it joins the group
// behind the other members and enters the index list. A shared table is locked meanwhile. Details
// 6321 (a file or tag of that name is a member), 6322 (no index kind),
// 6323 (a name that the index list cannot hold, and the database keeps one), 6324 (built and
// joined, but not listed), 6325 (the table is being packed),
// 6326 (the system does not tell whether the file is a member).
Result build_index(Database& database, std::uint32_t kind, const index::BuildRequest& request);

// Builds every index file of the group again. Members stay what they are, positioned nowhere. Stops
// at the first failure, which leaves that file and those behind it as they were. Details 6331
// (shared table: others would go on with the old files), 6332 (read-only).
Result rebuild_indexes(Database& database);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_BUILDING_H_
