#include "api/database.h"

#include <utility>

#include "api/first_failure.h"
#include "api/index_kinds.h"

namespace vqdb::api {

HandlePool<Database>& databases() {
  static HandlePool<Database> pool;
  return pool;
}

Result close_member(Member& member) {
  index::Index* const index = std::exchange(member.index, nullptr);
  if (index == nullptr) return Result::ok;
  const auto release = member.file != nullptr ? member.driver().deaidx : member.driver().close;
  return release != nullptr ? release(*index) : Result::no_driver;
}

Result close_last_member(Database& database) {
  const Result result = close_member(database.members.back());
  database.members.pop_back();
  return result;
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
