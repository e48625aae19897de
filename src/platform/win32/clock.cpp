#include "platform/clock.h"

#include <windows.h>

namespace vqdb::platform {

bool system::local_time(LocalTime& time) {
  SYSTEMTIME now = {};
  ::GetLocalTime(&now);
  time = {
      now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds / 10};
  return true;
}

void pause(std::uint32_t milliseconds) { ::Sleep(milliseconds); }

}  // namespace vqdb::platform
