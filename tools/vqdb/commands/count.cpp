#include <cstdio>

#include "commands/command.h"
#include "selection.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  Selection selection;
  TextOptions texts;
};

Exit run(const Options& options) {
  const Table table(options.table, options.texts);
  Warnings warnings(false);
  Progress progress("counting");
  Walk walk(table, options.selection, warnings, progress);
  std::uint64_t count = 0;
  while (walk.next()) ++count;
  warnings.finish();
  fmt::print("{}\n", count);
  return Exit::done;
}

}  // namespace

void add_count(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("count", "Count the records of a table", options, run);
  command.required("FILE", options->table, "The table");
  add_filter_option(command, options->selection.filter);
  command.flag("--deleted", options->selection.deleted, "Deleted records as well");
  add_text_options(command, options->texts);
  command.footer(
      "Examples:\n"
      "  vqdb count world.dbf\n"
      "  vqdb count world.dbf --for 'POP > 100000000 .AND. CONTINENT = \"Asia\"'\n"
      "  vqdb count orders --deleted --for 'DELETED()'");
}

}  // namespace tool
