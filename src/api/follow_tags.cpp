#include "api/follow_tags.h"

#include <algorithm>

#include "api/in_bracket.h"
#include "api/join.h"

namespace vqdb::api {
namespace {

bool has_tags(const Member& member) {
  return !member.is_tag() && member.index != nullptr && member.bracket().tagst != nullptr;
}

Result take_up(Database& database, MemberList::iterator file) {
  return in_bracket(database, *file, &index::Bracket::enter, [&] {
    const auto state = file->bracket().tagst;
    const bool is_new = state(*file->index) != file->tags_seen || file->tags_seen == 0;
    const Result result = is_new ? take_up_tags(database, file) : Result::ok;
    file->tags_seen = ok(result) ? state(*file->index) : 0;
    return result;
  });
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
