#include "platform/clock.h"

#include <ctime>

namespace vqdb::platform {

LocalTime local_time() {
  const std::time_t now = std::time(nullptr);
  std::tm parts = {};
  if (now == static_cast<std::time_t>(-1) || ::localtime_r(&now, &parts) == nullptr) {
    return {1980, 1, 1, 0, 0, 0};
  }
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
          parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

}  // namespace vqdb::platform
