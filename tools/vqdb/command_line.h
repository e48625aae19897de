// What the words of a command line mean: the sub-commands with their arguments and options.
#ifndef VQDB_COMMAND_LINE_H_
#define VQDB_COMMAND_LINE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "stop.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tool {

// What is to be done for the command that was called.
using Action = std::function<Exit()>;

// One (sub-)command. Values go into variables that live as long as the action.
class CommandLine {
 public:
  CommandLine(CLI::App* app, Action* action) : app_(app), action_(action) {}

  // Arguments by their place.
  void required(const std::string& name, std::string& value, const std::string& help);
  void required(const std::string& name, std::uint32_t& value, const std::string& help);
  void required(const std::string& name, std::vector<std::string>& values, const std::string& help);
  void optional(const std::string& name, std::string& value, const std::string& help);
  void optional(const std::string& name, std::vector<std::uint32_t>& values,
                const std::string& help);

  // Options; `type` stands for the value in the help.
  void option(const std::string& name, std::string& value, const std::string& type,
              const std::string& help);
  void option(const std::string& name, std::uint32_t& value, const std::string& type,
              const std::string& help);
  void option(const std::string& name, std::uint64_t& value, const std::string& type,
              const std::string& help);
  // May be given several times.
  void option(const std::string& name, std::vector<std::string>& values, const std::string& type,
              const std::string& help);
  // Values behind one option, commas between them.
  void list_option(const std::string& name, std::vector<std::string>& values,
                   const std::string& type, const std::string& help);
  void choice(const std::string& name, std::string& value, const std::string& type,
              const std::vector<std::string>& choices, const std::string& help);
  void flag(const std::string& name, bool& value, const std::string& help);
  // What was added under this name has to be given; cannot be given with another; can only be.
  void must(const std::string& name);
  void excludes(const std::string& name, const std::string& other);
  void needs(const std::string& name, const std::string& other);

  // Ends the help: notes and examples.
  void footer(const std::string& text);

  // A command that only has others in it.
  CommandLine group(const std::string& name, const std::string& summary);
  // A command whose options are kept in an object of its own.
  template <typename Options>
  CommandLine command(const std::string& name, const std::string& summary,
                      const std::shared_ptr<Options>& options, Exit (*run)(const Options&)) {
    return command(name, summary, [options, run] { return run(*options); });
  }

 private:
  CommandLine command(const std::string& name, const std::string& summary, Action action);

  CLI::App* app_;
  Action* action_;
};

// Reads the command line and does what it says; returns the exit code of the program.
int run_command_line(int argc, char** argv, void (*add_commands)(CommandLine& commands));

}  // namespace tool

#endif  // VQDB_COMMAND_LINE_H_
