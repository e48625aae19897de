// FIELD=VALUE on the command line, and the options of commands that change a table.
#ifndef VQDB_ASSIGNMENTS_H_
#define VQDB_ASSIGNMENTS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "command_line.h"
#include "table.h"

namespace tool {

struct Assignment {
  Field field;
  std::string text;
};

// Ends the command (wrong usage) when one is not written so or names no field.
std::vector<Assignment> parse_assignments(const Table& table,
                                          const std::vector<std::string>& texts);
bool writes_memo(const std::vector<Assignment>& assignments);
bool is_dbase3(const Header& header);

void add_change_options(CommandLine& command, std::vector<std::string>& indexes, bool& cut);
void add_index_option(CommandLine& command, std::vector<std::string>& indexes);
// ", 3 values cut" or nothing.
std::string cuts_text(std::uint64_t cuts);
// "1 record", "2 records".
std::string records_text(std::uint64_t count);

}  // namespace tool

#endif  // VQDB_ASSIGNMENTS_H_
