// The forms in which rows leave the program: CSV, JSON, JSON lines, SQL.
#ifndef VQDB_ROW_FORMAT_H_
#define VQDB_ROW_FORMAT_H_

#include <memory>
#include <string>
#include <vector>

#include "header.h"
#include "record_reader.h"

namespace tool {

struct Row {
  std::uint32_t recno;
  bool deleted;
  const std::vector<Value>& values;
};

// What all forms have to know of the table.
struct RowShape {
  std::string table;          // its name, for SQL
  std::vector<Field> fields;  // names in UTF-8
  bool deleted_column = false;
  bool crlf = false;  // CSV only
};

class RowFormat {
 public:
  virtual ~RowFormat() = default;
  virtual void begin(std::string& out) = 0;
  virtual void add(const Row& row, std::string& out) = 0;
  virtual void end(std::string& out) = 0;
};

std::unique_ptr<RowFormat> csv_format(const RowShape& shape);
std::unique_ptr<RowFormat> json_format(const RowShape& shape);
std::unique_ptr<RowFormat> json_lines_format(const RowShape& shape);
std::unique_ptr<RowFormat> sql_format(const RowShape& shape);

inline constexpr std::string_view kDeletedColumn = "_deleted";

// Pieces that more than one form uses.
void append_iso_date(std::string_view digits, std::string& out);
// Digits as they stand, in the spelling that JSON and SQL take: no plus, digits on both sides of
// the point, no zeros in front.
void append_plain_number(std::string_view digits, std::string& out);

}  // namespace tool

#endif  // VQDB_ROW_FORMAT_H_
