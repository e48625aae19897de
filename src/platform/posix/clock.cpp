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

std::int64_t system::file_clock() {
  std::timespec now = {};
  if (::clock_gettime(CLOCK_REALTIME_COARSE, &now) != 0) return 0;
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

std::uint64_t steady_microseconds() {
  std::timespec now = {};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

void pause(std::uint32_t microseconds) {
  if (microseconds == 0) {
    ::sched_yield();
    return;
  }
  const timespec span = {static_cast<std::time_t>(microseconds / 1'000'000),
                         static_cast<long>(microseconds % 1'000'000) * 1000};
  ::nanosleep(&span, nullptr);
}

}  // namespace vqdb::platform
