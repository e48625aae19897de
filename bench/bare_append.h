// The calls to the system that a shared append cannot do without, and nothing else: what the append
// of this library can come near to at best, whatever it computes in between.
#ifndef VQDBSYS_BENCH_BARE_APPEND_H_
#define VQDBSYS_BENCH_BARE_APPEND_H_

#include <cstdint>
#include <string>
#include <vector>

#include "sum.h"

namespace vqdb::bench {

class BareAppend {
 public:
  // A table's header and the pages of its indexes, made anew.
  static void make(std::size_t indexes);

  explicit BareAppend(std::size_t indexes);
  ~BareAppend();
  BareAppend(const BareAppend&) = delete;
  BareAppend& operator=(const BareAppend&) = delete;

  // Locks what an append locks, looks at what it looks at, and writes the record, the count and a
  // page of each index, as if no page were full. Waits for others inside the system.
  void append(const char* record);

  // What the records in the file come to.
  static Sum sum();

 private:
  int table_;
  std::vector<int> indexes_;
  std::uint32_t page_ = 0;
};

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_BARE_APPEND_H_
