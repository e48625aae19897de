#include "commands/command.h"
#include "grid.h"
#include "selection.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  Selection selection;
  TextOptions texts;
};

Exit run(const Options& options) {
  const Table table(options.table, options.texts, reads_of(options.selection));
  Warnings warnings(false);
  Progress progress("reading", true);
  const std::vector<std::size_t> fields = field_numbers(table, options.selection.fields);
  RecordReader reader(table, options.texts, warnings);
  Walk walk(table, options.selection, warnings, progress);
  std::uint64_t found = 0;
  {
    Screen screen;
    Grid grid(shape_of(table, fields, options.selection.deleted), screen);
    std::vector<Value> values;
    while (walk.next()) {
      ++found;
      reader.read(walk.record(), walk.recno(), fields, values);
      if (!grid.add({walk.recno(), walk.is_deleted(), values})) break;
    }
    grid.finish();
  }
  warnings.finish();
  return found == 0 && !options.selection.filter.empty() ? Exit::no : Exit::done;
}

}  // namespace

void add_list(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("list", "Show the records of a table", options, run);
  command.required("FILE", options->table, "The table");
  add_selection_options(command, options->selection);
  add_text_options(command, options->texts);
  command.footer(
      "On a terminal the table fits its width: long texts end in an ellipsis there, and records\n"
      "with too many fields stand one under the other. VQDB_PAGER or PAGER names the pager.\n"
      "Exit code 1: no record matches --for.\n\n"
      "Examples:\n"
      "  vqdb list world.dbf --fields NAME_LONG,POP --limit 10\n"
      "  vqdb list world.dbf --for 'CONTINENT = \"Europe\"' --reverse\n"
      "  vqdb list orders --order byname --from M");
}

}  // namespace tool
