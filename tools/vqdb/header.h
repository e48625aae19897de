// The header of a table file as it stands, also of files that the library refuses: what `info`
// tells and what the interface does not say, such as the language byte.
#ifndef VQDB_HEADER_H_
#define VQDB_HEADER_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct Field {
  std::string name;
  char type = 0;
  std::uint32_t width = 0;
  std::uint32_t decimals = 0;
  std::uint32_t offset = 0;  // in the record, behind the deletion flag
};

bool is_memo_type(char type);     // M B G P
bool is_numeric_type(char type);  // N F

struct Header {
  std::uint8_t version = 0;
  int year = 0, month = 0, day = 0;  // of the last update
  std::uint32_t records = 0;
  std::uint32_t length = 0;
  std::uint32_t record_length = 0;
  std::uint8_t encryption = 0;
  std::uint8_t production = 0;
  std::uint8_t language = 0;
  std::vector<Field> fields;
  std::uint64_t file_size = 0;
  bool has_terminator = false;  // a 0x0D behind the fields
  bool has_end_mark = false;    // a 0x1A behind the records

  // An older layout, of which only the version is known.
  bool is_unknown() const;
  // Whether the header says that there is an MDX file; for FoxPro the same byte tells of a CDX
  // file.
  bool names_mdx() const;
  // Records that the file has room for.
  std::uint64_t records_in_file() const;
  // Whether records stand where those that the header counts end. Behind an end mark there may be
  // old ones.
  bool hides_records() const { return !has_end_mark && records_in_file() > records; }
};

// Ends the command when the file is missing or shorter than a header.
Header read_header(const std::string& path);

// "dBASE IV with memo file", for any version byte.
std::string_view name_of_version(std::uint8_t version);
// What is not as it should be, in words; empty for a sound file.
std::vector<std::string> oddities_of(const Header& header);

}  // namespace tool

#endif  // VQDB_HEADER_H_
