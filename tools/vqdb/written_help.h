// The help as files: manual pages and completions.
#ifndef VQDB_WRITTEN_HELP_H_
#define VQDB_WRITTEN_HELP_H_

#include <string>

#include "command_tree.h"

namespace tool {

// Writes into the folder, which is there: a page NAME.1 for every command, vqdb.bash and _vqdb.
void write_help(const CommandNote& program, const std::string& folder);

}  // namespace tool

#endif  // VQDB_WRITTEN_HELP_H_
