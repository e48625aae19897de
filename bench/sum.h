// What the work of a side comes to: sums that tell one set of records, or one order of keys, from
// another. All sides of a workload have to come to the same.
#ifndef VQDBSYS_BENCH_SUM_H_
#define VQDBSYS_BENCH_SUM_H_

#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vqdb::bench {

using Sum = std::uint64_t;

// Bytes of a record or memo; sums over many do not depend on their order.
inline Sum sum_of(std::string_view bytes) { return std::hash<std::string_view>()(bytes); }

// Amounts that were added up.
inline Sum sum_of(double amounts) { return static_cast<Sum>(std::llround(amounts * 100)); }

// Letters that were looked at in passing, where the time counts: each at its place in the order.
class GlanceSum {
 public:
  void add(std::uint32_t number, char letter) {
    sum_ += number + ++count_ * static_cast<unsigned char>(letter);
  }
  operator Sum() const { return sum_; }

 private:
  Sum sum_ = 0;
  std::uint64_t count_ = 0;
};

// A walk over keys and their record numbers, each at its place in the order; equal keys share a
// place, as it is up to an index in which order it has them.
class WalkSum {
 public:
  void step(std::string_view key, std::uint32_t number) {
    if (place_ == 0 || key != last_) ++place_;
    last_ = key;
    sum_ += place_ * number;
  }
  operator Sum() const { return sum_; }

 private:
  Sum sum_ = 0;
  std::uint64_t place_ = 0;
  std::string last_;
};

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_SUM_H_
