// A table open for reading, with what is told about it beside the records: fields, code page and
// memo file. Damage beside the records is no reason to refuse them.
#ifndef VQDB_TABLE_H_
#define VQDB_TABLE_H_

#include <vqdbsys.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "encoding.h"
#include "header.h"

namespace tool {

// How texts are read, as the command line says.
struct TextOptions {
  std::string encoding;  // empty: as the table says
  bool replace = false;
};

// The dialect that a table of this header belongs to, as DBinit takes it.
std::uint32_t dialect_of(const Header& header);

// Which records are read: one after the other, or those that an index leads to.
enum class Reads : std::uint8_t { in_turn, by_number };

class Table {
 public:
  // Ends the command when there is no such table or it cannot be read.
  Table(const std::string& name, const TextOptions& texts, Reads reads = Reads::in_turn);
  ~Table();
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  const std::string& path() const { return path_; }
  // The name of the memo file given behind a semicolon, or empty.
  const std::string& memo_name() const { return memo_name_; }
  VqBlock& block() const { return *block_; }
  VqTable* handle() const { return handle_; }
  const Header& header() const { return header_; }
  const std::vector<Field>& fields() const { return fields_; }
  // Ends the command (wrong usage) when there is no such field.
  std::size_t field_number(const std::string& name) const;
  std::uint32_t record_length() const { return static_cast<std::uint32_t>(dDreclen(handle_)); }
  std::uint32_t record_count() const { return count_; }
  const Encoding& encoding() const { return *encoding_; }

  // Reads a record, deletion flag and all. The record is the caller's, record_length() bytes.
  void read(std::uint32_t recno, char* record) const {
    if (const int32_t result = dDgetrec(handle_, recno, record); result < 0) {
      stop_unread(result, recno);
    }
  }

  // A UTF-8 text, such as an expression, in the code page of the table.
  std::string encode(const std::string& text) const;

 private:
  [[noreturn]] void stop_unread(int32_t result, std::uint32_t recno) const;
  void take_fields();
  void count_records();

  std::string path_;
  std::string memo_name_;
  Header header_;
  std::unique_ptr<VqBlock> block_;
  VqTable* handle_ = nullptr;
  std::vector<Field> fields_;
  std::uint32_t count_ = 0;
  std::unique_ptr<Encoding> encoding_;
};

// The code page of a table's texts: as given, else what a .cpg file beside it says, else its
// language byte, else 1252.
std::unique_ptr<Encoding> encoding_of(const std::string& path, const Header& header,
                                      const std::string& given);
inline constexpr std::string_view kAssumedSource = "assumed";

// The path of an existing table; ends the command when there is none.
std::string find_table(const std::string& name);

}  // namespace tool

#endif  // VQDB_TABLE_H_
