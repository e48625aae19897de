// The manual page of a command, for man(1).
#ifndef VQDB_MANUAL_H_
#define VQDB_MANUAL_H_

#include <string>

#include "command_tree.h"

namespace tool {

// "vqdb-index-create", for "vqdb index create".
std::string manual_name(const CommandNote& command);
// `above` is the command that this one is a part of, or null.
std::string manual_page(const CommandNote& command, const CommandNote* above);

}  // namespace tool

#endif  // VQDB_MANUAL_H_
