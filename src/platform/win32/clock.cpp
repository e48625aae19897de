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

std::int64_t system::file_clock() { return 0; }

std::uint64_t steady_microseconds() { return ::GetTickCount64() * 1000; }

void pause(std::uint32_t microseconds) { ::Sleep(microseconds / 1000); }

}  // namespace vqdb::platform
