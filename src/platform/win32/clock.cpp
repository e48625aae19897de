#include "platform/clock.h"

#include <windows.h>

namespace vqdb::platform {

LocalTime local_time() {
  SYSTEMTIME now = {};
  ::GetLocalTime(&now);
  return {
      now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds / 10};
}

void pause(std::uint32_t milliseconds) { ::Sleep(milliseconds); }

}  // namespace vqdb::platform
