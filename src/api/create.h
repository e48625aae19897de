// Making the files of a database: a table with its memo file.
#ifndef VQDBSYS_API_CREATE_H_
#define VQDBSYS_API_CREATE_H_

#include <cstdint>

#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// Both files are complete before one of them replaces an older file of its name; until then a
// failure leaves everything as it was. Detail 6371: the memo file that the name asks for is there
// already and is not that of the table's own name, or it is the table itself.

// Creates the table, name and type texts in turn, and its memo file when it has memo fields; then
// removes the index list and the indexes that an earlier table of the name left behind.
Result create(VqBlock& block, const char* name, std::int32_t count, const char* const* fields);

// Copies the structure of a table and makes the memo file of the copy when it needs one.
Result copy(VqBlock& block, const char* from, const char* to);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_CREATE_H_
