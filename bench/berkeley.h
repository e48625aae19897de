// Berkeley DB as a yardstick for ordered keys: a B-tree file without environment, log and locks,
// 64 MB of page cache.
#ifndef VQDBSYS_BENCH_BERKELEY_H_
#define VQDBSYS_BENCH_BERKELEY_H_

#include <db.h>

#include <string>

#include "ordered_store.h"

namespace vqdb::bench {

class Berkeley : public OrderedStore<Berkeley> {
 public:
  static constexpr const char* kName = "Berkeley DB";

  explicit Berkeley(const std::string& path);
  ~Berkeley();
  Berkeley(const Berkeley&) = delete;
  Berkeley& operator=(const Berkeley&) = delete;

  void put(std::string_view entry, bool behind_all);
  bool get(Go go, std::string_view& entry);
  // Writes everything and closes.
  void commit();

 private:
  DB* database_ = nullptr;
  DBC* cursor_ = nullptr;
};

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_BERKELEY_H_
