// The values of a record as the program shows and exports them.
#ifndef VQDB_RECORD_READER_H_
#define VQDB_RECORD_READER_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "memo_file.h"
#include "table.h"
#include "warnings.h"

namespace tool {

struct Value {
  enum class Kind : unsigned char {
    blank,
    text,    // UTF-8, without the blanks that end it; memos whole
    number,  // digits as they stand
    date,    // YYYYMMDD
    truth,
    unreadable,  // text: what stands there
  };
  Kind kind = Kind::blank;
  bool truth = false;
  std::string_view text;  // valid until the next record is read
};

class RecordReader {
 public:
  RecordReader(const Table& table, const TextOptions& texts, Warnings& warnings);

  // The values of these fields (numbers from 0) of a record.
  void read(const char* record, std::uint32_t recno, const std::vector<std::size_t>& fields,
            std::vector<Value>& values);

 private:
  struct Cell {
    const Field& field;
    std::size_t number;
    std::uint32_t recno;
    std::string_view bytes;
  };
  Value value_of(const Cell& cell);
  Value text_of(const Cell& cell, std::string_view bytes);
  Value number_of(const Cell& cell);
  Value date_of(const Cell& cell);
  Value truth_of(const Cell& cell);
  Value memo_of(const Cell& cell);
  Value unreadable(const Cell& cell, std::string_view what);
  std::string_view without_nuls(const Cell& cell);
  std::string place(const Cell& cell) const;

  const Table& table_;
  bool replace_;
  Warnings& warnings_;
  bool assumption_told_ = false;
  std::optional<MemoFile> memos_;
  std::string memo_bytes_;
  // A text for each field that cannot be shown as it stands in the record.
  std::vector<std::string> scratch_;
};

}  // namespace tool

#endif  // VQDB_RECORD_READER_H_
