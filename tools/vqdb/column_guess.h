// What kind of field the values of a CSV column need.
#ifndef VQDB_COLUMN_GUESS_H_
#define VQDB_COLUMN_GUESS_H_

#include <string>
#include <string_view>
#include <vector>

#include "encoding.h"

namespace tool {

class ColumnGuess {
 public:
  // Takes one more value of the column into account.
  void look_at(std::string_view text, const Encoding& encoding);
  // The narrowest type that holds them all: "N8.2", "D", "L", "C12", or "M" for long texts.
  std::string type() const;

 private:
  bool any_ = false;
  bool numbers_ = true;
  bool dates_ = true;
  bool truths_ = true;
  std::size_t whole_ = 1;  // digits and sign before the point
  std::size_t decimals_ = 0;
  std::size_t bytes_ = 1;
  bool has_line_ends_ = false;
};

// Names of fields for the columns: capitals, letters, digits and `_`, at most ten, none twice.
std::vector<std::string> field_names_for(const std::vector<std::string>& columns);

}  // namespace tool

#endif  // VQDB_COLUMN_GUESS_H_
