// Making new tables: fields as people write them, dialects, and the mark of a code page.
#ifndef VQDB_TABLE_MAKER_H_
#define VQDB_TABLE_MAKER_H_

#include <cstdint>
#include <string>
#include <vector>

#include "command_line.h"
#include "header.h"

namespace tool {

// A field to be made; its type as the library takes it: "C20", "N10.2", "D".
struct FieldSpec {
  std::string name;
  std::string type;
};

// "NAME:C20"; ends the command (wrong usage) when it is not written so.
FieldSpec parse_field_spec(const std::string& text);

struct NewTableOptions {
  std::string dialect = "3";  // 3, 4 or fox
  std::string encoding;       // of its texts; empty: 1252
  bool force = false;
};
void add_new_table_options(CommandLine& command, NewTableOptions& options);
std::uint32_t dialect_number(const std::string& name);

// Creates the table, and its memo file where it has memo fields.
void create_table(const std::string& name, const std::vector<FieldSpec>& fields,
                  const NewTableOptions& options);

// Marks the table with a code page: in its header where a language byte stands for it, else in a
// .cpg file.
void mark_code_page(const std::string& table_path, const std::string& code_page);
// Gives a table that was made from another the language byte of its header.
void restore_language(const std::string& table_path, const Header& header);
void write_language_byte(const std::string& table_path, std::uint8_t language);

}  // namespace tool

#endif  // VQDB_TABLE_MAKER_H_
