// What shells complete: commands, options, the values of a choice, else files.
#ifndef VQDB_COMPLETION_H_
#define VQDB_COMPLETION_H_

#include <string>

#include "command_tree.h"

namespace tool {

std::string bash_completion(const CommandNote& program);
std::string zsh_completion(const CommandNote& program);

}  // namespace tool

#endif  // VQDB_COMPLETION_H_
