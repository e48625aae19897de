// Waiting for a lock that others hold, since no request of ours waits and nobody tells when it is
// free. Most are held for microseconds: at first the processor is given up, and no more. Then come
// pauses of an eighth of the time that has passed.
#ifndef VQDBSYS_FRAME_WAIT_H_
#define VQDBSYS_FRAME_WAIT_H_

#include <cstdint>

#include "frame/result.h"

namespace vqdb {

class Wait {
 public:
  explicit Wait(std::uint32_t milliseconds) : microseconds_(std::uint64_t{milliseconds} * 1000) {}

  // Pauses, and is true, as long as there is time left.
  bool goes_on();
  // Whether it takes longer than most locks are held.
  bool is_long() const { return turns_ > kEagerTurns; }

 private:
  static constexpr std::uint32_t kEagerTurns = 50;
  static constexpr std::uint64_t kShortestPause = 20;
  static constexpr std::uint64_t kLongestPause = 10000;

  const std::uint64_t microseconds_;
  std::uint64_t begin_ = 0;
  std::uint32_t turns_ = 0;
};

// Makes the attempt again, for as long as the host has asked for, where somebody else has locked
// what it needs. REQUIRES that it has changed nothing then, and holds no lock.
template <typename Attempt>
Result patiently(VqBlock& block, Attempt attempt) {
  const std::int32_t detail = block.detail;
  Wait wait(block.lock_wait);
  Result result = attempt();
  bool waited = false;
  while (is_busy(result) && wait.goes_on()) {
    waited = true;
    result = attempt();
  }
  if (waited && ok(result)) block.detail = detail;
  return result;
}

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_WAIT_H_
