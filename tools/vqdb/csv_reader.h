// The rows of a CSV file.
#ifndef VQDB_CSV_READER_H_
#define VQDB_CSV_READER_H_

#include <csv.h>

#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace tool {

class CsvReader {
 public:
  // "-" is standard input. Ends the command when the file cannot be read.
  CsvReader(const std::string& path, char delimiter);
  ~CsvReader();
  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;

  // The next row; false behind the last. Ends the command at a mistake, with its line.
  bool next(std::vector<std::string>& cells);
  // The line on which the row began.
  std::uint64_t line() const { return line_; }
  std::uint64_t bytes_read() const { return bytes_read_; }
  std::uint64_t bytes() const { return bytes_; }
  const std::string& name() const { return name_; }
  void rewind();

 private:
  struct Row {
    std::uint64_t line;
    std::vector<std::string> cells;
  };
  static void take_cell(void* bytes, std::size_t length, void* reader);
  static void take_row(int terminator, void* reader);
  void parse(const char* bytes, std::size_t length);
  void read_more();

  std::string name_;
  std::FILE* file_ = nullptr;
  csv_parser parser_ = {};
  unsigned char delimiter_;
  std::vector<char> buffer_;
  std::deque<Row> rows_;
  std::vector<std::string> cells_;
  std::uint64_t line_ = 0;
  std::uint64_t lines_read_ = 0;  // whole ones given to the parser
  std::uint64_t row_line_ = 1;
  std::uint64_t bytes_read_ = 0;
  std::uint64_t bytes_ = 0;
  bool at_end_ = false;
  bool row_ended_ = false;    // by the line last parsed
  bool row_is_open_ = false;  // a quoted cell goes on in the next line
};

}  // namespace tool

#endif  // VQDB_CSV_READER_H_
