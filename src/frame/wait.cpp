#include "frame/wait.h"

#include <algorithm>

#include "platform/clock.h"

namespace vqdb {

bool Wait::goes_on() {
  if (microseconds_ == 0) return false;
  if (turns_ == 0) begin_ = platform::steady_microseconds();
  if (turns_++ < kEagerTurns) {
    platform::pause(0);
    return true;
  }
  const std::uint64_t waited = platform::steady_microseconds() - begin_;
  if (waited >= microseconds_) return false;
  const std::uint64_t pause = std::clamp(waited / 8, kShortestPause, kLongestPause);
  platform::pause(static_cast<std::uint32_t>(std::min(pause, microseconds_ - waited)));
  return true;
}

}  // namespace vqdb
