// LMDB as the yardstick of ordered keys: a memory map that is written in place and never synced,
// one transaction per benchmark.
#ifndef VQDBSYS_BENCH_LMDB_H_
#define VQDBSYS_BENCH_LMDB_H_

#include <lmdb.h>

#include <string>

#include "ordered_store.h"

namespace vqdb::bench {

class Lmdb : public OrderedStore<Lmdb> {
 public:
  static constexpr const char* kName = "LMDB";

  explicit Lmdb(const std::string& path);
  ~Lmdb();
  Lmdb(const Lmdb&) = delete;
  Lmdb& operator=(const Lmdb&) = delete;

  void put(std::string_view entry, bool behind_all);
  bool get(Go go, std::string_view& entry);
  // Ends the transaction, and all use.
  void commit();

 private:
  MDB_env* environment_ = nullptr;
  MDB_txn* transaction_ = nullptr;
  MDB_cursor* cursor_ = nullptr;
  MDB_dbi entries_ = 0;
};

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_LMDB_H_
