// The members of a database as hosts hold them: packed copies, found by kind and name, and taken
// back with suspicion, since what a copy points to may have been closed long ago.
#ifndef VQDBSYS_API_GROUP_H_
#define VQDBSYS_API_GROUP_H_

#include <cstdint>

#include "api/database.h"
#include "frame/result.h"
#include "index/driver_table.h"
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
Member* member_of(Database& owner, const VqMember& copy);

// The member, when its driver column has the operation: else no_driver, or bad_handle with digit 0.
template <typename Slot>
Result member_with(Slot index::Driver::*slot, Database& owner, const VqMember& copy,
                   Operation operation, Member*& member) {
  if (index::driver(copy.driver_column).*slot == nullptr) return Result::no_driver;
  member = member_of(owner, copy);
  if (member != nullptr) return Result::ok;
  return fail(owner.block, Result::bad_handle, operation.detail(0));
}

}  // namespace vqdb::api

#endif  // VQDBSYS_API_GROUP_H_
