#include "screen.h"

#include <cerrno>
#include <cstring>

#include "stop.h"

namespace tool {

Screen::Screen() {
  if (is_terminal(Stream::output)) size_ = terminal_size();
}

Screen::~Screen() {
  if (pager_ != nullptr) {
    close_pipe(pager_);
    return;
  }
  std::fwrite(waiting_.data(), 1, waiting_.size(), stdout);
  std::fflush(stdout);
}

std::optional<std::size_t> Screen::columns() const {
  if (!size_) return std::nullopt;
  return static_cast<std::size_t>(size_->columns);
}

bool Screen::write(const std::string& text) {
  std::FILE* const file = pager_ != nullptr ? pager_ : stdout;
  if (std::fwrite(text.data(), 1, text.size(), file) == text.size()) return true;
  if (pager_ == nullptr) stop_failed("output: cannot be written: {}", std::strerror(errno));
  left_ = true;
  return false;
}

bool Screen::line(const std::string& text) {
  if (left_) return false;
  if (!size_ || streams_) return write(text + "\n");
  waiting_ += text + "\n";
  if (++lines_ < size_->rows) return true;
  const std::string command = pager_command();
  if (!command.empty()) {
    ignore_broken_pipe();
    pager_ = open_pipe_to(command);
  }
  streams_ = true;
  const std::string first = std::move(waiting_);
  waiting_.clear();
  return write(first);
}

}  // namespace tool
