#include "frame/change_watch.h"

#include <algorithm>
#include <utility>

#include "platform/clock.h"

namespace vqdb {
namespace {

constexpr std::int64_t kHundredth = 10'000'000;  // nanoseconds; the tick of the slowest clocks
constexpr std::int64_t kBehindTheClock = 2 * kHundredth;
constexpr std::int64_t kLongestWrite = 100 * kHundredth;
constexpr std::uint32_t kMostStrangeLooks = 6;

// File systems that keep no more than seconds give nothing else.
bool is_in_hundredths(std::int64_t time) { return time % kHundredth == 0; }

}  // namespace

bool ChangeTimes::look(const platform::LastChange& found, std::int64_t clock_before,
                       std::int64_t clock_after, bool is_own_change) {
  // A tick gives all changes within it one time, and that is the clock's.
  const bool within_one_tick = seen_.time >= clock_ && clock_ == clock_after;
  if (grain_ == Grain::unknown && within_one_tick) {
    if (found.time > seen_.time) grain_ = Grain::look;
    if (found.time == seen_.time && is_own_change) grain_ = Grain::tick;
  }
  const std::int64_t age = clock_before - found.time;
  const bool is_complete = age > kLongestWrite;
  const bool is_known = found == seen_ && (was_complete_ || !is_complete);
  if (is_own_change) own_since_ = std::min(own_since_, clock_before);
  const bool is_overdue = own_since_ < clock_before - kLongestWrite;
  const bool unchanged = counts_ && !is_own_change && is_known && !is_overdue;
  if (!unchanged && !is_own_change) own_since_ = INT64_MAX;
  const bool is_behind = age > kBehindTheClock && !is_in_hundredths(found.time);
  counts_ = unchanged || is_behind || grain_ == Grain::look;
  was_complete_ = is_complete;
  seen_ = found;
  clock_ = clock_before;
  return unchanged;
}

bool ChangeWatch::look(bool is_own_change) {
  if (use_ == Use::unknown) use_ = file_.notes_changes() ? Use::some : Use::none;
  if (use_ == Use::none) return false;
  const std::int64_t clock = platform::file_clock();
  platform::LastChange found;
  if (clock != 0 && file_.last_change(found).ok()) {
    return times_.look(found, clock, platform::file_clock(), is_own_change);
  }
  times_.forget();
  return false;
}

bool ChangeWatch::is_unchanged() {
  const bool counted = counts();
  const bool unchanged = look(false);
  if (counted) strange_looks_ = unchanged ? 0 : std::min(strange_looks_ + 1, kMostStrangeLooks);
  return unchanged;
}

// Where times go by ticks no look counts so early; where others write all the time, most are in
// vain.
void ChangeWatch::note_own_change() {
  times_.forget();
  if (times_.grain() == ChangeTimes::Grain::tick || ++own_changes_ >> strange_looks_ == 0) return;
  own_changes_ = 0;
  static_cast<void>(look(true));
}

void ChangeWatch::learn() {
  if (times_.grain() == ChangeTimes::Grain::unknown) static_cast<void>(look(true));
}

}  // namespace vqdb
