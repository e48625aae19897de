#include <optional>

#include "commands/command.h"
#include "expression.h"
#include "selection.h"
#include "table.h"

namespace tool {
namespace {

struct Options {
  std::string expression;
  std::string table;
  std::uint32_t record = 1;
  TextOptions texts;
};

Exit run(const Options& options) {
  std::optional<Table> table;
  std::string record;
  if (!options.table.empty()) {
    table.emplace(options.table, options.texts);
    record.assign(table->record_length(), ' ');
    if (table->record_count() > 0 || options.record != 1) {
      table->read(options.record, record.data());
    }
  }
  Expression expression(options.expression, table ? &*table : nullptr);
  fmt::print("{}\n", show(expression.run(table ? record.data() : nullptr)));
  return Exit::done;
}

}  // namespace

void add_eval(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("eval", "Print the value of an expression", options, run);
  command.required("EXPR", options->expression, "The expression");
  command.option("--table", options->table, "FILE", "The table whose fields it may use");
  command.option("--record", options->record, "N", "The record to read them from; else the first");
  command.needs("--record", "--table");
  add_text_options(command, options->texts);
  command.footer(
      "Examples:\n"
      "  vqdb eval 'DATE() - CTOD(\"01/31/24\")'\n"
      "  vqdb eval 'TRIM(NAME_LONG) + \", \" + CONTINENT' --table world.dbf --record 43\n"
      "  vqdb eval -- '-2 ** 2'");
}

}  // namespace tool
