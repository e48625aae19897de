// The system's clock, read as local time.
#ifndef VQDBSYS_PLATFORM_CLOCK_H_
#define VQDBSYS_PLATFORM_CLOCK_H_

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

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_CLOCK_H_
