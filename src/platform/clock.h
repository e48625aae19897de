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

// The clock that times of files go by, at its last tick: nanoseconds since 1970, 0 when it cannot
// be read. A file that is changed from now on gets no earlier time, unless somebody sets the clock
// back.
std::int64_t file_clock();

// Counts on whatever is done to the clock.
std::uint64_t steady_microseconds();

// Lets others run for about this long; 0 gives up no more than the rest of the time slice.
void pause(std::uint32_t microseconds);

// The system's own calls; false, and 0, when they fail.
namespace system {
bool local_time(LocalTime& time);
std::int64_t file_clock();
}  // namespace system

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_CLOCK_H_
