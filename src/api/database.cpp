#include "api/database.h"

#include "api/first_failure.h"
#include "api/index_kinds.h"

namespace vqdb::api {

HandlePool<Database>& databases() {
  static HandlePool<Database> pool;
  return pool;
}

Result close_last_member(Database& database) {
  Member& member = database.members.back();
  Result result = Result::ok;
  if (member.index != nullptr) {
    const index::Driver& driver = member.driver();
    const auto release = member.file != nullptr ? driver.deaidx : driver.close;
    result = release != nullptr ? release(*member.index) : Result::no_driver;
  }
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
