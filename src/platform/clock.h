// The system's clock, read as local time, and waiting.
#ifndef VQDBSYS_PLATFORM_CLOCK_H_
#define VQDBSYS_PLATFORM_CLOCK_H_

#include <cstdint>

namespace vqdb::platform {

struct LocalTime {
  int year;  // in full
  int month;
  int day;
  int hour;
  int minute;
  int second;
  int hundredth;
};

// 1 January 1980, midnight, when the clock cannot be read as a local time.
LocalTime local_time();

namespace system {
// The system's own call; false when it fails.
bool local_time(LocalTime& time);
}  // namespace system

// Lets others run for at least this long; 0 gives up no more than the rest of the time slice.
void pause(std::uint32_t milliseconds);

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_CLOCK_H_
