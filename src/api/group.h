// The members of a database as hosts hold them: packed copies, found by kind and name, and taken
// back with suspicion, since what a copy points to may have been closed long ago.
#ifndef VQDBSYS_API_GROUP_H_
#define VQDBSYS_API_GROUP_H_

#include <cstdint>

#include "api/database.h"
#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// Fills a copy of the member of this kind whose file name, and for tags whose tag name, is equal,
// whatever the case; a null or empty file name is equal to any. Kind 64 finds NDX3 members as well.
// Details 6131 to 6133.
Result find_member(Database& database, std::uint32_t kind, const char* name, const char* tag,
                   VqMember& out);

// The live database that a copy came from. A closed or foreign one gives null, and the detail code
// goes to the block of a closed one.
Database* owner_of(const VqMember& copy, std::int32_t bad_handle);

// The index file or tag that a copy stands for; null when its owner has no such member.
const Member* member_of(const Database& owner, const VqMember& copy);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_GROUP_H_
