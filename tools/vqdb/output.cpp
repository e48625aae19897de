#include "output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "stop.h"
#include "system.h"

namespace tool {

Output::Output(const std::string& name) : name_(name == "-" ? "" : name), file_(stdout) {
  buffer_.reserve(kFull + kFull / 4);
  if (name_.empty()) return;
  std::error_code error;
  // A device or a pipe has no whole to wait for.
  if (std::filesystem::exists(name_, error) && !std::filesystem::is_regular_file(name_, error)) {
    file_ = std::fopen(name_.c_str(), "wb");
  } else {
    temporary_ = fmt::format("{}.{}.tmp", name_, process_number());
    file_ = std::fopen(temporary_.c_str(), "wbx");
  }
  if (file_ == nullptr) stop_failed("{}: cannot be written: {}", name_, std::strerror(errno));
}

Output::~Output() {
  if (file_ == nullptr || file_ == stdout) return;
  std::fclose(file_);
  if (!temporary_.empty()) std::remove(temporary_.c_str());
}

void Output::write() {
  const std::size_t written = std::fwrite(buffer_.data(), 1, buffer_.size(), file_);
  if (written != buffer_.size()) {
    stop_failed("{}: cannot be written: {}", name_.empty() ? "output" : name_,
                std::strerror(errno));
  }
  buffer_.clear();
}

void Output::finish() {
  write();
  const std::string shown = name_.empty() ? "output" : name_;
  if (std::fflush(file_) != 0) {
    stop_failed("{}: cannot be written: {}", shown, std::strerror(errno));
  }
  if (file_ == stdout) return;
  const bool closed = std::fclose(file_) == 0;
  file_ = nullptr;
  if (temporary_.empty()) return;
  if (!closed || !replace_file(temporary_, name_)) {
    const std::string cause = std::strerror(errno);
    std::remove(temporary_.c_str());
    stop_failed("{}: cannot be written: {}", shown, cause);
  }
}

}  // namespace tool
