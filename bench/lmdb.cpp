#include "lmdb.h"

#include "require.h"
#include "store_entry.h"

namespace vqdb::bench {
namespace {

constexpr std::size_t kMapBytes = std::size_t{4} << 30;
MDB_val thing(StoreEntry& entry) { return {entry.size(), entry.data()}; }

std::string_view text_of(const MDB_val& entry) {
  return {static_cast<const char*>(entry.mv_data), entry.mv_size};
}

void check(int result, const char* step) { require(result == MDB_SUCCESS, step); }

}  // namespace

Lmdb::Lmdb(const std::string& path) {
  check(mdb_env_create(&environment_), "mdb_env_create");
  check(mdb_env_set_mapsize(environment_, kMapBytes), "mdb_env_set_mapsize");
  constexpr unsigned kOptions =
      MDB_NOSUBDIR | MDB_WRITEMAP | MDB_NOSYNC | MDB_NOMEMINIT | MDB_NOLOCK | MDB_NORDAHEAD;
  check(mdb_env_open(environment_, path.c_str(), kOptions, 0666), "mdb_env_open");
  check(mdb_txn_begin(environment_, nullptr, 0, &transaction_), "mdb_txn_begin");
  check(mdb_dbi_open(transaction_, nullptr, 0, &entries_), "mdb_dbi_open");
  check(mdb_cursor_open(transaction_, entries_, &cursor_), "mdb_cursor_open");
}

Lmdb::~Lmdb() {
  commit();
  mdb_env_close(environment_);
}

void Lmdb::commit() {
  if (transaction_ == nullptr) return;
  mdb_cursor_close(cursor_);
  check(mdb_txn_commit(transaction_), "mdb_txn_commit");
  transaction_ = nullptr;
}

void Lmdb::put(std::string_view key, std::uint32_t number, unsigned how) {
  StoreEntry entry(key, number);
  MDB_val bytes = thing(entry);
  MDB_val nothing = {};
  check(mdb_cursor_put(cursor_, &bytes, &nothing, how), "mdb_cursor_put");
}

bool Lmdb::get(MDB_cursor_op operation) {
  MDB_val nothing = {};
  const int result = mdb_cursor_get(cursor_, &entry_, &nothing, operation);
  require(result == MDB_SUCCESS || result == MDB_NOTFOUND, "mdb_cursor_get");
  return result == MDB_SUCCESS;
}

std::uint32_t Lmdb::find(std::string_view key) {
  StoreEntry lowest(key, 0);
  entry_ = thing(lowest);
  if (!get(MDB_SET_RANGE)) return 0;
  const std::string_view found = text_of(entry_);
  return StoreEntry::key_of(found) == key ? StoreEntry::number_of(found) : 0;
}

bool Lmdb::next(std::string_view& key, std::uint32_t& number) {
  if (!get(at_start_ ? MDB_FIRST : MDB_NEXT)) return false;
  at_start_ = false;
  const std::string_view entry = text_of(entry_);
  key = StoreEntry::key_of(entry);
  number = StoreEntry::number_of(entry);
  return true;
}

}  // namespace vqdb::bench
