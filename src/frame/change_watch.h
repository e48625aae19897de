// Tells whether anybody has written into a file since it was last looked at, by what the system
// notes with every write, whoever makes it: its time, and the size of the file.
//
// Times go by the ticks of a clock, so that a write in the tick of a look may leave the time as it
// was. A look therefore counts only where the time that it finds lies behind the clock: no later
// write gets it again. Some file systems give the first change after a look a time of its own;
// where one has shown that, by two times within one tick, every look counts.
//
// The time is noted before the bytes are written. Who locks the file to write is done with both
// when others look; for the sake of those who do not, such as a program that copies a file into the
// place of this one, a change counts as another one once it is old enough to be complete. Nor is
// what the caller has noted as his own believed for longer: it may have covered one of theirs.
#ifndef VQDBSYS_FRAME_CHANGE_WATCH_H_
#define VQDBSYS_FRAME_CHANGE_WATCH_H_

#include <cstdint>

#include "platform/file.h"

namespace vqdb {

// What looks at a file tell.
class ChangeTimes {
 public:
  enum class Grain : std::uint8_t { unknown, tick, look };

  // Takes what was found, between two looks at the clock, and whether the caller has changed the
  // file himself since the last one. True where nobody has written since then.
  bool look(const platform::LastChange& found, std::int64_t clock_before, std::int64_t clock_after,
            bool is_own_change);
  // The file may have been written by the time of the next look.
  void forget() { counts_ = false; }

  // Whether the last look counts; the next one is false without that.
  bool counts() const { return counts_; }
  Grain grain() const { return grain_; }

 private:
  platform::LastChange seen_;
  std::int64_t clock_ = INT64_MAX;      // before the last look
  std::int64_t own_since_ = INT64_MAX;  // the first own change since others' were last assumed
  Grain grain_ = Grain::unknown;
  bool counts_ = false;
  bool was_complete_ = false;  // what the last look found
};

class ChangeWatch {
 public:
  explicit ChangeWatch(platform::File& file) : file_(file) {}

  bool counts() const { return times_.counts(); }
  // Looks: true where nobody has written since the last look, false where that cannot be told.
  bool is_unchanged();
  // What was written since the last look is the caller's own. REQUIRES that nobody else could
  // write meanwhile.
  void note_own_change();
  // The same between two changes, as long as it is not known how finely the system notes them.
  void learn();

 private:
  enum class Use : std::uint8_t { unknown, none, some };

  bool look(bool is_own_change);

  platform::File& file_;
  ChangeTimes times_;
  Use use_ = Use::unknown;
  std::uint32_t strange_looks_ = 0;  // that found others' changes, in a row
  std::uint32_t own_changes_ = 0;    // since the last look behind one
};

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_CHANGE_WATCH_H_
