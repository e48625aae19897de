// How index files and tags become members of a database's group.
#ifndef VQDBSYS_API_JOIN_H_
#define VQDBSYS_API_JOIN_H_

#include <string_view>

#include "api/database.h"
#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// Opens the index file of the description, in the table's mode, and adds it behind the other
// members; a multiple-index file brings its tags, or the one named behind a semicolon. A
// description of a kind that is no index file adds nothing. After a failure the group is what it
// was. Details 6113 to 6115, 6121 to 6128.
Result join_index(Database& database, const VqIndexSpec& spec);

// Whether the file has a member of this tag name, whatever the case.
bool has_tag(const Database& database, const Member& file, std::string_view name);
// Activates a tag of a file that is a member; it joins behind the file's other tags. After a
// failure the group is what it was.
Result join_tag(Database& database, MemberList::iterator file, std::string_view name);

// Members of the file that were made anew as something else are compiled again, and where all its
// tags are members, those that were added join. After a failure the next call goes on from there.
Result take_up_tags(Database& database, MemberList::iterator file);

// Opens the file, or activates the tag, of a member that has been closed. A tag that is defined
// otherwise now is compiled again.
Result reopen_member(Database& database, Member& member);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_JOIN_H_
