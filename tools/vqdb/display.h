// Texts as they stand on a screen.
#ifndef VQDB_DISPLAY_H_
#define VQDB_DISPLAY_H_

#include <string>
#include <string_view>

#include "record_reader.h"

namespace tool {

// Columns that a UTF-8 text takes.
std::size_t display_width(std::string_view text);
// The text in one line, its control characters made visible.
std::string one_line(std::string_view text);
// Cut to so many columns, with an ellipsis in the last where something is missing.
std::string fit(const std::string& text, std::size_t width);
// Filled with blanks to so many columns.
std::string pad(const std::string& text, std::size_t width, bool right);

std::string show(const Value& value);

}  // namespace tool

#endif  // VQDB_DISPLAY_H_
