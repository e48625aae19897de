// LMDB as the yardstick of ordered keys: a memory map that is written in place and never synced,
// one transaction per benchmark, a key and its record number as one entry.
#ifndef VQDBSYS_BENCH_LMDB_H_
#define VQDBSYS_BENCH_LMDB_H_

#include <lmdb.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace vqdb::bench {

class Lmdb {
 public:
  static constexpr const char* kName = "LMDB";

  explicit Lmdb(const std::string& path);
  ~Lmdb();
  Lmdb(const Lmdb&) = delete;
  Lmdb& operator=(const Lmdb&) = delete;

  void insert(std::string_view key, std::uint32_t number) { put(key, number, 0); }
  // The same behind all other entries.
  void append(std::string_view key, std::uint32_t number) { put(key, number, MDB_APPEND); }
  void commit();
  // The number of the first entry with the key; 0 without one.
  std::uint32_t find(std::string_view key);
  // Steps to the next entry, from the first on after a rewind. The key is valid until the next
  // step.
  void rewind() { at_start_ = true; }
  bool next(std::string_view& key, std::uint32_t& number);

 private:
  void put(std::string_view key, std::uint32_t number, unsigned how);
  bool get(MDB_cursor_op operation);

  MDB_env* environment_ = nullptr;
  MDB_txn* transaction_ = nullptr;
  MDB_cursor* cursor_ = nullptr;
  MDB_dbi entries_ = 0;
  MDB_val entry_ = {};
  bool at_start_ = true;
};

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_LMDB_H_
