#include "api/pack.h"

#include <memory>

#include "api/building.h"
#include "api/first_failure.h"
#include "api/index_list.h"
#include "api/open.h"
#include "table/locks.h"
#include "table/pack.h"

namespace vqdb::api {
namespace {

constexpr Operation kPack{636};

// Opens the table and its indexes alone, works on them and closes them.
template <typename Work>
Result with_group(VqBlock& block, const char* name, ListedIndexes& indexes, Work work) {
  OpenRequest request = listed_request(block, name, indexes);
  request.mode = database_mode::kAll;  // the memo file has no part in it
  request.marked = true;
  Database* database = nullptr;
  VqIndexSpec* failed = nullptr;
  if (const Result result = open(block, request, database, failed); !ok(result)) return result;
  // Also where memory runs out on the way.
  struct Close {
    void operator()(Database* open) const { (void)close(*open); }
  };
  std::unique_ptr<Database, Close> owner(database);
  FirstFailure failure(block);
  failure.note(work(*database));
  failure.note(close(*owner.release()));
  return failure.result();
}

// Under the lock of the table, which closing it gives back.
Result build_again(Database& database) {
  if (table::has_lock_operations(*database.table)) {
    if (const Result result = table::lock_file(*database.table); !ok(result)) return result;
  }
  return rebuild_indexes(database);
}

Result mark(VqBlock& block, const char* name, bool marked) {
  return mark_index_list(name, marked) ? Result::ok : fail(block, Result::io, kPack.detail(1));
}

}  // namespace

Result pack_database(VqBlock& block, const char* name) {
  ListedIndexes indexes;
  if (const Result result = read_index_list(block, name, indexes); !ok(result)) return result;
  if (indexes.empty()) return table::pack(block, name);
  const bool resumes = is_marked(name);
  // Nothing is touched unless every index can be opened.
  Result result = with_group(block, name, indexes, [](Database&) { return Result::ok; });
  if (ok(result) && !resumes) result = mark(block, name, true);
  if (!ok(result)) return result;
  // Others may have built another index before the mark.
  indexes.clear();
  result = read_index_list(block, name, indexes);
  if (!ok(result)) return result;
  FirstFailure failure(block);
  failure.note(table::pack(block, name));
  if (!ok(failure.result())) {
    if (!resumes) failure.note(mark(block, name, false));
    return failure.result();
  }
  failure.note(with_group(block, name, indexes, build_again));
  if (ok(failure.result())) failure.note(mark(block, name, false));
  return failure.result();
}

}  // namespace vqdb::api
