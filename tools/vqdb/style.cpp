#include "style.h"

#include <cstdlib>

#include "system.h"

namespace tool {
namespace {

bool has_colour(Stream stream) {
  const char* const no_color = std::getenv("NO_COLOR");
  if (no_color != nullptr && *no_color != '\0') return false;
  const char* const terminal = std::getenv("TERM");
  if (terminal != nullptr && std::string_view(terminal) == "dumb") return false;
  return is_terminal(stream);
}

}  // namespace

std::string_view output_style(std::string_view sequence) {
  static const bool coloured = has_colour(Stream::output);
  return coloured ? sequence : std::string_view();
}

std::string_view error_style(std::string_view sequence) {
  static const bool coloured = has_colour(Stream::error);
  return coloured ? sequence : std::string_view();
}

}  // namespace tool
