#include "lmdb.h"

namespace vqdb::bench {
namespace {

constexpr std::size_t kMapBytes = std::size_t{4} << 30;

MDB_val bytes_of(std::string_view entry) { return {entry.size(), const_cast<char*>(entry.data())}; }

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

void Lmdb::put(std::string_view entry, bool behind_all) {
  MDB_val key = bytes_of(entry);
  MDB_val nothing = {};
  check(mdb_cursor_put(cursor_, &key, &nothing, behind_all ? MDB_APPEND : 0), "mdb_cursor_put");
}

bool Lmdb::get(Go go, std::string_view& entry) {
  static constexpr std::array kOperations = {MDB_FIRST, MDB_NEXT, MDB_SET_RANGE};
  MDB_val key = bytes_of(entry);
  MDB_val nothing = {};
  const int result =
      mdb_cursor_get(cursor_, &key, &nothing, kOperations[static_cast<std::size_t>(go)]);
  require(result == MDB_SUCCESS || result == MDB_NOTFOUND, "mdb_cursor_get");
  entry = {static_cast<const char*>(key.mv_data), key.mv_size};
  return result == MDB_SUCCESS;
}

}  // namespace vqdb::bench
