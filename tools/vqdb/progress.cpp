#include "progress.h"

#include <algorithm>

#include "stop.h"
#include "style.h"
#include "system.h"

namespace tool {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kMoment{400};
constexpr milliseconds kBetweenDrawings{100};
constexpr int kWidestBar = 40;

bool line_is_drawn = false;

}  // namespace

Progress::Progress(std::string title, bool writes_output)
    : title_(std::move(title)),
      visible_(is_terminal(Stream::error) && !(writes_output && is_terminal(Stream::output))),
      begin_(steady_clock::now()),
      drawn_(begin_) {}

void Progress::look(std::uint64_t done, std::uint64_t total) {
  if (interrupted()) {
    clear_line();
    stop_failed("cancelled; every file is as it was");
  }
  if (!visible_ || total == 0) return;
  const auto now = steady_clock::now();
  if (now - begin_ < kMoment || now - drawn_ < kBetweenDrawings) return;
  drawn_ = now;
  draw(done, total);
}

void Progress::draw(std::uint64_t done, std::uint64_t total) {
  const auto size = terminal_size();
  const int room = (size ? size->columns : 80) - static_cast<int>(title_.size()) - 10;
  const auto width = static_cast<std::size_t>(std::clamp(room, 4, kWidestBar));
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  const auto filled = static_cast<std::size_t>(part * static_cast<double>(width));
  fmt::print(stderr, "\r{} [{:=<{}}{: <{}}] {:3.0f}%", title_, "", filled, "", width - filled,
             part * 100);
  std::fflush(stderr);
  line_is_drawn = true;
}

void Progress::clear_line() {
  if (!line_is_drawn) return;
  fmt::print(stderr, "\r\x1b[K");
  std::fflush(stderr);
  line_is_drawn = false;
}

int32_t VQ_CALL Progress::Watch::report(void* context, uint32_t done, uint32_t total) {
  try {
    static_cast<Progress*>(context)->look(done, total);
    return 0;
  } catch (const Stop&) {
    return 1;
  }
}

}  // namespace tool
