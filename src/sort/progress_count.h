// Counts the units of long work and tells the host now and then.
#ifndef VQDBSYS_SORT_PROGRESS_COUNT_H_
#define VQDBSYS_SORT_PROGRESS_COUNT_H_

#include <algorithm>
#include <cstdint>
#include <limits>

#include "frame/progress.h"
#include "frame/result.h"

namespace vqdb::sort {

class ProgressCount {
 public:
  ProgressCount(VqBlock& block, std::uint64_t total) : block_(block), total_(total) {}

  // One unit more is done.
  Result step() {
    if (++done_ % kUnitsBetweenCalls != 0) return Result::ok;
    return ask();
  }
  // Lets the host cancel work that has no units.
  Result ask() const {
    return cancelled(block_, cut(done_), cut(total_)) ? Result::cancelled : Result::ok;
  }

 private:
  static constexpr std::uint64_t kUnitsBetweenCalls = 1024;

  static std::uint32_t cut(std::uint64_t count) {
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(count, std::numeric_limits<std::uint32_t>::max()));
  }

  VqBlock& block_;
  std::uint64_t total_;
  std::uint64_t done_ = 0;
};

}  // namespace vqdb::sort

#endif  // VQDBSYS_SORT_PROGRESS_COUNT_H_
