#include "commands/command.h"
#include "grid.h"
#include "selection.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::string index;
  std::string key;
  bool prefix = false;
  Selection selection;
  TextOptions texts;
};

Exit run(const Options& options) {
  const Table table(options.table, options.texts, Reads::by_number);
  Order order(table, options.index, false);
  order.find(options.key, options.prefix);
  Warnings warnings(false);
  const std::vector<std::size_t> fields = field_numbers(table, options.selection.fields);
  RecordReader reader(table, options.texts, warnings);
  std::string record(table.record_length(), ' ');
  std::vector<std::uint32_t> found;
  bool some_deleted = false;
  for (std::uint32_t recno = 0; order.next(recno);) {
    table.read(recno, record.data());
    some_deleted |= record[0] == '*';
    found.push_back(recno);
  }
  std::vector<Value> values;
  if (!found.empty()) {
    Screen screen;
    Grid grid(shape_of(table, fields, some_deleted), screen);
    for (const std::uint32_t recno : found) {
      table.read(recno, record.data());
      reader.read(record.data(), recno, fields, values);
      if (!grid.add({recno, record[0] == '*', values})) break;
    }
    grid.finish();
  }
  warnings.finish();
  return found.empty() ? Exit::no : Exit::done;
}

}  // namespace

void add_seek(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("seek", "Find the records with a key", options, run);
  command.required("TABLE", options->table, "The table");
  command.required("INDEX[;TAG]", options->index, "The index, or a tag of one");
  command.required("KEY", options->key, "The key: a text, a number, or a date such as 2024-01-31");
  command.flag("--prefix", options->prefix, "Keys that begin so");
  command.list_option("--fields", options->selection.fields, "A,B,...",
                      "Only these fields, in this order");
  add_text_options(command, options->texts);
  command.footer(
      "Deleted records are marked with a star. Exit code 1: no record has the key.\n\n"
      "Examples:\n"
      "  vqdb seek towns byname PORTO\n"
      "  vqdb seek towns 'towns.mdx;people' 231800\n"
      "  vqdb seek towns byname P --prefix --fields NAME,PEOPLE");
}

}  // namespace tool
