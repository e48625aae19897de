// The commands with their arguments and options, as the help tells them: what manual pages and the
// completions of shells are made of.
#ifndef VQDB_COMMAND_TREE_H_
#define VQDB_COMMAND_TREE_H_

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace tool {

struct ArgumentNote {
  std::vector<std::string> names;  // "--to"; of an argument by its place, "TABLE"
  std::string type;                // what stands for the value; empty for flags
  std::string help;
  std::vector<std::string> choices;
  bool required = false;
  bool repeated = false;
};

struct CommandNote {
  std::string path;  // "vqdb index create"
  std::string summary;
  std::string notes;
  std::string examples;
  std::vector<ArgumentNote> arguments;
  std::vector<ArgumentNote> options;
  std::vector<CommandNote> parts;
};

// Of the whole program.
CommandNote describe_commands(CLI::App& app);

// A command and all in it, the outer ones first.
std::vector<const CommandNote*> all_commands(const CommandNote& command);

}  // namespace tool

#endif  // VQDB_COMMAND_TREE_H_
