#include "api/database.h"

#include <iterator>
#include <utility>

#include "api/first_failure.h"

namespace vqdb::api {

HandlePool<Database>& databases() {
  static HandlePool<Database> pool;
  return pool;
}

Result close_member(Member& member) {
  index::Index* const index = std::exchange(member.index, nullptr);
  if (index == nullptr) return Result::ok;
  const auto release = member.is_tag() ? member.driver().deaidx : member.driver().close;
  return release != nullptr ? release(*index) : Result::no_driver;
}

Result close_last_member(Database& database) {
  database.file_order.clear();
  const Result result = close_member(database.members.back());
  database.members.pop_back();
  return result;
}

void drop_member(Database& database, MemberList::iterator member) {
  const std::int32_t detail = database.block->detail;
  (void)close_member(*member);
  if (!member->is_tag()) database.file_order.clear();
  database.members.erase(member);
  database.block->detail = detail;
}

MemberList::iterator end_of_file(Database& database, MemberList::iterator file) {
  auto end = std::next(file);
  while (end != database.members.end() && end->file == &*file) ++end;
  return end;
}

Result close(Database& database) {
  FirstFailure failure(database.owner_block());
  while (!database.members.empty()) failure.note(close_last_member(database));
  if (database.memo != nullptr) failure.note(database.memo_driver().close(*database.memo));
  if (database.table != nullptr) failure.note(table::close(*database.table));
  databases().close(&database);
  return failure.result();
}

}  // namespace vqdb::api
