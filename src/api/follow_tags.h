// The tags of a group's files may be dropped, made anew and added to at any time, by this process
// or another.
#ifndef VQDBSYS_API_FOLLOW_TAGS_H_
#define VQDBSYS_API_FOLLOW_TAGS_H_

#include "api/database.h"
#include "frame/result.h"

namespace vqdb::api {

// Brings the group in step with the tags of its files before a record is changed: what a tag takes
// for its keys counts as it is now. A tag that cannot be taken up is a failure, with the codes that
// opening the group would give; the record is not to be written then. Looks without locks, and
// enters only the files whose tags are not those that the group knows.
//
// REQUIRES that nobody can add a tag until the record is changed: a lock of the table, the files
// entered, or an exclusive mode. One that is dropped meanwhile is no harm.
Result follow_tags(Database& database);

// Whether any file of the group has tags.
bool has_tagged_files(const Database& database);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_FOLLOW_TAGS_H_
