#include "platform/clock.h"

#include <ctime>

namespace vqdb::platform {

LocalTime local_time() {
  constexpr long kNanosecondsPerHundredth = 10'000'000;
  std::timespec now = {};
  std::tm parts = {};
  if (::clock_gettime(CLOCK_REALTIME, &now) != 0 || ::localtime_r(&now.tv_sec, &parts) == nullptr) {
    return {1980, 1, 1, 0, 0, 0, 0};
  }
  return {parts.tm_year + 1900,
          parts.tm_mon + 1,
          parts.tm_mday,
          parts.tm_hour,
          parts.tm_min,
          parts.tm_sec,
          static_cast<int>(now.tv_nsec / kNanosecondsPerHundredth)};
}

}  // namespace vqdb::platform
