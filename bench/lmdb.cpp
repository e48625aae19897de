#include "lmdb.h"

#include <array>
#include <cstring>

#include "require.h"

namespace vqdb::bench {
namespace {

constexpr std::size_t kMapBytes = std::size_t{4} << 30;
constexpr std::size_t kMostKeyBytes = 64;

// The record number last, its high byte first, so that entries with equal keys are ordered by it.
class Entry {
 public:
  Entry(std::string_view key, std::uint32_t number) : size_(key.size() + sizeof number) {
    require(size_ <= bytes_.size(), "a short key");
    key.copy(bytes_.data(), key.size());
    number = __builtin_bswap32(number);
    std::memcpy(bytes_.data() + key.size(), &number, sizeof number);
  }

  MDB_val value() { return {size_, bytes_.data()}; }

 private:
  std::array<char, kMostKeyBytes> bytes_;
  std::size_t size_;
};

std::string_view key_of(const MDB_val& entry) {
  return {static_cast<const char*>(entry.mv_data), entry.mv_size - sizeof(std::uint32_t)};
}

std::uint32_t number_of(const MDB_val& entry) {
  std::uint32_t number = 0;
  const char* const end = static_cast<const char*>(entry.mv_data) + entry.mv_size;
  std::memcpy(&number, end - sizeof number, sizeof number);
  return __builtin_bswap32(number);
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

void Lmdb::insert(std::string_view key, std::uint32_t number) {
  Entry entry(key, number);
  MDB_val bytes = entry.value();
  MDB_val nothing = {};
  check(mdb_cursor_put(cursor_, &bytes, &nothing, 0), "mdb_cursor_put");
}

bool Lmdb::get(MDB_cursor_op operation) {
  MDB_val nothing = {};
  const int result = mdb_cursor_get(cursor_, &entry_, &nothing, operation);
  require(result == MDB_SUCCESS || result == MDB_NOTFOUND, "mdb_cursor_get");
  return result == MDB_SUCCESS;
}

std::uint32_t Lmdb::find(std::string_view key) {
  Entry lowest(key, 0);
  entry_ = lowest.value();
  return get(MDB_SET_RANGE) && key_of(entry_) == key ? number_of(entry_) : 0;
}

bool Lmdb::next(std::string_view& key, std::uint32_t& number) {
  if (!get(at_start_ ? MDB_FIRST : MDB_NEXT)) return false;
  at_start_ = false;
  key = key_of(entry_);
  number = number_of(entry_);
  return true;
}

}  // namespace vqdb::bench
