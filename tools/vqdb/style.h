// Colours and weights of text on a terminal; empty where there is none or NO_COLOR is set.
#ifndef VQDB_STYLE_H_
#define VQDB_STYLE_H_

#include <string_view>

namespace tool {

namespace style {
inline constexpr std::string_view kNone = "\x1b[0m";
inline constexpr std::string_view kBold = "\x1b[1m";
inline constexpr std::string_view kFaint = "\x1b[2m";
inline constexpr std::string_view kWarning = "\x1b[33m";
inline constexpr std::string_view kError = "\x1b[1;31m";
}  // namespace style

// The sequence, or nothing, for standard output and standard error.
std::string_view output_style(std::string_view sequence);
std::string_view error_style(std::string_view sequence);

}  // namespace tool

#endif  // VQDB_STYLE_H_
