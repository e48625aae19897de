#include "command_tree.h"

#include <CLI/CLI.hpp>

namespace tool {
namespace {

ArgumentNote describe_argument(CLI::Option& option) {
  ArgumentNote note;
  if (option.get_positional()) {
    note.names = {option.get_name(true)};
  } else {
    for (const std::string& name : option.get_snames()) note.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) note.names.push_back("--" + name);
    note.type = option.get_items_expected_max() == 0 ? "" : option.get_type_name();
  }
  note.help = option.get_description();
  note.required = option.get_required();
  note.repeated = option.get_items_expected_max() > 1;
  // A choice is checked by a validator whose name lists it.
  try {
    note.choices = CLI::detail::split(option.get_validator(0)->get_name(), ' ');
  } catch (const CLI::OptionNotFound&) {
    note.choices.clear();
  }
  return note;
}

CommandNote describe(CLI::App& app, const std::string& before) {
  CommandNote note;
  note.path = before + app.get_name();
  note.summary = app.get_description();
  const std::string footer = app.get_footer();
  const std::string heading = "Examples:\n";
  const std::size_t examples = footer.find(heading);
  note.notes = footer.substr(0, examples);
  if (examples != std::string::npos) note.examples = footer.substr(examples + heading.size());
  for (CLI::Option* const option : app.get_options()) {
    (option->get_positional() ? note.arguments : note.options)
        .push_back(describe_argument(*option));
  }
  for (CLI::App* const part : app.get_subcommands([](CLI::App*) { return true; })) {
    note.parts.push_back(describe(*part, note.path + " "));
  }
  return note;
}

void add_all(const CommandNote& command, std::vector<const CommandNote*>& all) {
  all.push_back(&command);
  for (const CommandNote& part : command.parts) add_all(part, all);
}

}  // namespace

CommandNote describe_commands(CLI::App& app) { return describe(app, ""); }

std::vector<const CommandNote*> all_commands(const CommandNote& command) {
  std::vector<const CommandNote*> all;
  add_all(command, all);
  return all;
}

}  // namespace tool
