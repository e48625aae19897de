#include "api/follow_tags.h"

#include <algorithm>

#include "api/first_failure.h"
#include "api/join.h"

namespace vqdb::api {
namespace {

bool has_tags(const Member& member) {
  return !member.is_tag() && member.index != nullptr && member.bracket().tagst != nullptr;
}

Result take_up(Database& database, MemberList::iterator file) {
  const index::Bracket& bracket = file->bracket();
  if (const Result result = bracket.enter(*file->index); !ok(result)) return result;
  FirstFailure failure(database.owner_block());
  if (bracket.tagst(*file->index) != file->tags_seen || file->tags_seen == 0) {
    try {
      failure.note(take_up_tags(database, file));
    } catch (...) {  // memory ran out
      static_cast<void>(bracket.leave(*file->index));
      throw;
    }
  }
  file->tags_seen = ok(failure.result()) ? bracket.tagst(*file->index) : 0;
  failure.note(bracket.leave(*file->index));
  return failure.result();
}

}  // namespace

bool has_tagged_files(const Database& database) {
  return std::ranges::any_of(database.members, has_tags);
}

Result follow_tags(Database& database) {
  for (auto member = database.members.begin(); member != database.members.end(); ++member) {
    if (!has_tags(*member)) continue;
    const std::uint32_t state = member->bracket().tagst(*member->index);
    if (state != 0 && state == member->tags_seen) continue;
    if (const Result result = take_up(database, member); !ok(result)) return result;
  }
  return Result::ok;
}

}  // namespace vqdb::api
