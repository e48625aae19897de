#include "api/entered_files.h"

#include <algorithm>

#include "api/first_failure.h"

namespace vqdb::api {
namespace {

constexpr Operation kOpen{611};

platform::FileIdentity identity_of(const Member* file) {
  return file->bracket().identity(*file->index);
}

// The files of the group in the order of their identities, found once after each change of the
// group.
Result sort_files(Database& database) {
  if (!database.file_order.empty()) return Result::ok;
  FileOrder order;
  const bool has_room = has_memory([&] {
    for (Member& member : database.members) {
      const bool brackets =
          !member.is_tag() && member.index != nullptr && member.bracket().enter != nullptr;
      if (brackets) order.push_back(&member);
    }
  });
  if (!has_room) return fail(database.block, Result::no_memory, kOpen.detail(3));
  std::ranges::sort(order, {}, identity_of);
  database.file_order.swap(order);
  return Result::ok;
}

}  // namespace

EnteredFiles::EnteredFiles(Database& database)
    : database_(database),
      shared_((table::open_mode_of(*database.table) & open_mode::kShared) != 0) {}

void EnteredFiles::want(Member& member) {
  if (shared_) (member.is_tag() ? *member.file : member).wanted = true;
}

void EnteredFiles::want_all() {
  for (Member& member : database_.members) {
    if (member.carries_keys()) want(member);
  }
}

Result EnteredFiles::enter() {
  if (!shared_) return Result::ok;
  if (const Result result = sort_files(database_); !ok(result)) return result;
  for (Member* const file : database_.file_order) {
    if (!file->wanted || file->entered) continue;
    if (const Result result = file->bracket().enter(*file->index); !ok(result)) {
      return leave_after(result);
    }
    file->entered = true;
  }
  return Result::ok;
}

Result EnteredFiles::leave_after(Result work) {
  FirstFailure failure(database_.owner_block());
  failure.note(work);
  const FileOrder& order = database_.file_order;
  for (std::size_t at = order.size(); at-- > 0;) {
    Member* const file = order[at];
    file->wanted = false;
    if (!file->entered) continue;
    file->entered = false;
    failure.note(file->bracket().leave(*file->index));
  }
  return failure.result();
}

}  // namespace vqdb::api
