#include "berkeley.h"

#include <utility>

namespace vqdb::bench {
namespace {

constexpr std::uint32_t kCacheBytes = 64 << 20;

DBT bytes_of(std::string_view entry) {
  DBT bytes = {};
  bytes.data = const_cast<char*>(entry.data());
  bytes.size = static_cast<std::uint32_t>(entry.size());
  return bytes;
}

void check(int result, const char* step) { require(result == 0, step); }

}  // namespace

Berkeley::Berkeley(const std::string& path) {
  check(db_create(&database_, nullptr, 0), "db_create");
  check(database_->set_cachesize(database_, 0, kCacheBytes, 1), "set_cachesize");
  check(database_->open(database_, nullptr, path.c_str(), nullptr, DB_BTREE, DB_CREATE, 0666),
        "DB->open");
  check(database_->cursor(database_, nullptr, &cursor_, 0), "DB->cursor");
}

Berkeley::~Berkeley() { commit(); }

void Berkeley::commit() {
  if (database_ == nullptr) return;
  check(cursor_->close(cursor_), "DBcursor->close");
  DB* const database = std::exchange(database_, nullptr);
  check(database->close(database, DB_NOSYNC), "DB->close");
}

void Berkeley::put(std::string_view entry, bool) {
  DBT key = bytes_of(entry);
  DBT nothing = {};
  check(database_->put(database_, nullptr, &key, &nothing, 0), "DB->put");
}

bool Berkeley::get(Go go, std::string_view& entry) {
  static constexpr std::array<std::uint32_t, 3> kOperations = {DB_FIRST, DB_NEXT, DB_SET_RANGE};
  DBT key = bytes_of(entry);
  DBT nothing = {};
  const int result =
      cursor_->get(cursor_, &key, &nothing, kOperations[static_cast<std::size_t>(go)]);
  require(result == 0 || result == DB_NOTFOUND, "DBcursor->get");
  entry = {static_cast<const char*>(key.data), key.size};
  return result == 0;
}

}  // namespace vqdb::bench
