// The sub-commands. Each adds itself with its options and the examples that end its help.
#ifndef VQDB_COMMANDS_COMMAND_H_
#define VQDB_COMMANDS_COMMAND_H_

#include "command_line.h"

namespace tool {

void add_append(CommandLine& commands);
void add_cat(CommandLine& commands);
void add_check(CommandLine& commands);
void add_compact(CommandLine& commands);
void add_copy(CommandLine& commands);
void add_count(CommandLine& commands);
void add_create(CommandLine& commands);
void add_delete(CommandLine& commands);
void add_diff(CommandLine& commands);
void add_eval(CommandLine& commands);
void add_export(CommandLine& commands);
void add_import(CommandLine& commands);
void add_index(CommandLine& commands);
void add_info(CommandLine& commands);
void add_list(CommandLine& commands);
void add_memo(CommandLine& commands);
void add_pack(CommandLine& commands);
void add_recall(CommandLine& commands);
void add_seek(CommandLine& commands);
void add_sort(CommandLine& commands);
void add_update(CommandLine& commands);

}  // namespace tool

#endif  // VQDB_COMMANDS_COMMAND_H_
