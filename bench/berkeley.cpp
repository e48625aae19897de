#include "berkeley.h"

#include <utility>

#include "require.h"
#include "store_entry.h"

namespace vqdb::bench {
namespace {

constexpr std::uint32_t kCacheBytes = 64 << 20;

void check(int result, const char* step) { require(result == 0, step); }

DBT thing(StoreEntry& entry) {
  DBT bytes = {};
  bytes.data = entry.data();
  bytes.size = static_cast<std::uint32_t>(entry.size());
  return bytes;
}

std::string_view text_of(const DBT& entry) {
  return {static_cast<const char*>(entry.data), entry.size};
}

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

void Berkeley::insert(std::string_view key, std::uint32_t number) {
  StoreEntry entry(key, number);
  DBT bytes = thing(entry);
  DBT nothing = {};
  check(database_->put(database_, nullptr, &bytes, &nothing, 0), "DB->put");
}

bool Berkeley::get(std::uint32_t operation) {
  DBT nothing = {};
  const int result = cursor_->get(cursor_, &entry_, &nothing, operation);
  require(result == 0 || result == DB_NOTFOUND, "DBcursor->get");
  return result == 0;
}

std::uint32_t Berkeley::find(std::string_view key) {
  StoreEntry lowest(key, 0);
  entry_ = thing(lowest);
  if (!get(DB_SET_RANGE)) return 0;
  const std::string_view found = text_of(entry_);
  return StoreEntry::key_of(found) == key ? StoreEntry::number_of(found) : 0;
}

bool Berkeley::next(std::string_view& key, std::uint32_t& number) {
  if (!get(at_start_ ? DB_FIRST : DB_NEXT)) return false;
  at_start_ = false;
  const std::string_view entry = text_of(entry_);
  key = StoreEntry::key_of(entry);
  number = StoreEntry::number_of(entry);
  return true;
}

}  // namespace vqdb::bench
