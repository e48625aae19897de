// A bar on standard error for work that takes longer than a moment, where that is a terminal, and
// the place where Ctrl-C ends it.
#ifndef VQDB_PROGRESS_H_
#define VQDB_PROGRESS_H_

#include <vqdbsys.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace tool {

class Progress {
 public:
  // `writes_output`: the command prints rows meanwhile, which show by themselves that it goes on
  // when they go to the terminal.
  explicit Progress(std::string title, bool writes_output = false);
  ~Progress() { clear_line(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Ends the command when Ctrl-C was pressed. Cheap enough for every record.
  void at(std::uint64_t done, std::uint64_t total) {
    if (++calls_ % kCallsPerLook == 0) look(done, total);
  }
  void look(std::uint64_t done, std::uint64_t total);

  // Lets the library's long work under this block report here; reset when the object goes.
  class Watch {
   public:
    Watch(VqBlock& block, Progress& progress) : block_(block) {
      dUsetprog(&block, report, &progress);
    }
    ~Watch() { dUsetprog(&block_, nullptr, nullptr); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

   private:
    static int32_t VQ_CALL report(void* context, uint32_t done, uint32_t total);
    VqBlock& block_;
  };

  // Makes room for another line.
  static void clear_line();

 private:
  static constexpr unsigned kCallsPerLook = 512;
  void draw(std::uint64_t done, std::uint64_t total);

  std::string title_;
  unsigned calls_ = 0;
  bool visible_;
  std::chrono::steady_clock::time_point begin_;
  std::chrono::steady_clock::time_point drawn_;
};

}  // namespace tool

#endif  // VQDB_PROGRESS_H_
