#include "platform/clock.h"

#include <sched.h>

#include <ctime>

namespace vqdb::platform {

bool system::local_time(LocalTime& time) {
  constexpr long kNanosecondsPerHundredth = 10'000'000;
  std::timespec now = {};
  std::tm parts = {};
  if (::clock_gettime(CLOCK_REALTIME, &now) != 0 || ::localtime_r(&now.tv_sec, &parts) == nullptr) {
    return false;
  }
  time = {parts.tm_year + 1900,
          parts.tm_mon + 1,
          parts.tm_mday,
          parts.tm_hour,
          parts.tm_min,
          parts.tm_sec,
          static_cast<int>(now.tv_nsec / kNanosecondsPerHundredth)};
  return true;
}

void pause(std::uint32_t milliseconds) {
  if (milliseconds == 0) {
    ::sched_yield();
    return;
  }
  const timespec span = {static_cast<std::time_t>(milliseconds / 1000),
                         static_cast<long>(milliseconds % 1000) * 1'000'000};
  ::nanosleep(&span, nullptr);
}

}  // namespace vqdb::platform
