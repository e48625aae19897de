// vqdb: tables, memo files and indexes from the command line.
#include <fmt/format.h>
#include <vqdbsys.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <new>

#include "commands/command.h"
#include "system.h"
#include "warnings.h"

namespace tool {
namespace {

void add_commands(CLI::App& app, Action& action) {
  for (const auto add :
       {add_info, add_list, add_count, add_export, add_import, add_create, add_append, add_update,
        add_delete, add_recall, add_sort, add_copy, add_cat, add_diff, add_index, add_seek, add_eval,
        add_memo}) {
    add(app, action);
  }
}

void shape_help(CLI::App& app) {
  app.require_subcommand(1);
  app.set_version_flag("--version", fmt::format("vqdb {}", vqVersion()));
  app.get_formatter()->column_width(30);
  app.footer(
      "vqdb COMMAND --help tells more, with examples.\n"
      "Exit codes: 0 done; 1 the answer is no; 2 wrong usage; 3 the work failed.");
}

// 0 for help and version, else what is wrong with the command line.
int end_parsing(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) {
    app.exit(error);
    return 0;
  }
  print_error(error.what());
  const auto called = app.get_subcommands();
  fmt::print(stderr, "vqdb {}--help tells how it is used\n",
             called.empty() ? "" : called.front()->get_name() + " ");
  return static_cast<int>(Exit::usage);
}

int run(int argc, char** argv) {
  prepare_streams();
  watch_for_interrupt();
  CLI::App app("Tables, memo files and indexes of the xBASE family", "vqdb");
  Action action;
  add_commands(app, action);
  shape_help(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return end_parsing(app, error);
  }
  try {
    return static_cast<int>(action());
  } catch (const Stop& stop) {
    print_error(stop.what());
    return static_cast<int>(stop.code());
  } catch (const std::bad_alloc&) {
    print_error("out of memory");
  } catch (const std::exception& error) {
    print_error(error.what());
  }
  return static_cast<int>(Exit::failed);
}

}  // namespace
}  // namespace tool

int main(int argc, char** argv) { return tool::run(argc, argv); }
