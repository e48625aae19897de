// Standard output for reading: through the pager when it is a terminal and the text is longer than
// that.
#ifndef VQDB_SCREEN_H_
#define VQDB_SCREEN_H_

#include <cstdio>
#include <optional>
#include <string>

#include "system.h"

namespace tool {

class Screen {
 public:
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Columns to keep to; nothing when nobody looks.
  std::optional<std::size_t> columns() const;
  // Writes a line. False once the person has left the pager.
  bool line(const std::string& text);

 private:
  bool write(const std::string& text);

  std::optional<TerminalSize> size_;
  std::FILE* pager_ = nullptr;
  bool streams_ = false;
  bool left_ = false;
  std::string waiting_;  // what fits the terminal so far
  int lines_ = 0;
};

}  // namespace tool

#endif  // VQDB_SCREEN_H_
