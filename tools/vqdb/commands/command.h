// The sub-commands. Each adds itself with its options and the examples that end its help, and
// leaves in `action` what is to be done when it is the one that was called.
#ifndef VQDB_COMMANDS_COMMAND_H_
#define VQDB_COMMANDS_COMMAND_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

#include "stop.h"

namespace tool {

using Action = std::function<Exit()>;

void add_append(CLI::App& app, Action& action);
void add_cat(CLI::App& app, Action& action);
void add_copy(CLI::App& app, Action& action);
void add_count(CLI::App& app, Action& action);
void add_create(CLI::App& app, Action& action);
void add_delete(CLI::App& app, Action& action);
void add_diff(CLI::App& app, Action& action);
void add_eval(CLI::App& app, Action& action);
void add_export(CLI::App& app, Action& action);
void add_import(CLI::App& app, Action& action);
void add_index(CLI::App& app, Action& action);
void add_info(CLI::App& app, Action& action);
void add_list(CLI::App& app, Action& action);
void add_memo(CLI::App& app, Action& action);
void add_recall(CLI::App& app, Action& action);
void add_seek(CLI::App& app, Action& action);
void add_sort(CLI::App& app, Action& action);
void add_update(CLI::App& app, Action& action);

// Adds a sub-command whose options are kept in an object of its own.
template <typename Options>
CLI::App& add_command(CLI::App& app, Action& action, const std::string& name,
                      const std::string& summary, const std::shared_ptr<Options>& options,
                      Exit (*run)(const Options&)) {
  CLI::App* const command = app.add_subcommand(name, summary);
  command->callback([options, run, &action] { action = [options, run] { return run(*options); }; });
  return *command;
}

}  // namespace tool

#endif  // VQDB_COMMANDS_COMMAND_H_
