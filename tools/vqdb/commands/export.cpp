#include <filesystem>

#include "commands/command.h"
#include "file_names.h"
#include "index_group.h"
#include "memo_file.h"
#include "output.h"
#include "row_format.h"
#include "selection.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::string format;
  std::string output;
  std::string sql_name;
  bool crlf = false;
  bool strict = false;
  Selection selection;
  TextOptions texts;
};

std::unique_ptr<RowFormat> format_of(const std::string& name, const RowShape& shape) {
  if (name == "csv") return csv_format(shape);
  if (name == "json") return json_format(shape);
  if (name == "jsonl") return json_lines_format(shape);
  return sql_format(shape);
}

// An output that takes the place of what it is read from would be the end of it.
void check_output(const Options& options, const Table& table) {
  std::vector<std::string> sources = {
      table.path(), memo_path_of(table.path(), table.header().version, table.memo_name())};
  for (const char* const extension : {"dd", "cpg"}) {
    if (const auto path = find_file(replace_extension(table.path(), extension))) {
      sources.push_back(*path);
    }
  }
  for (const IndexFile& file : index_group_of(table.path(), table.header(), {})) {
    sources.push_back(file.path);
  }
  for (const std::string& source : sources) {
    std::error_code error;
    if (std::filesystem::equivalent(options.output, source, error)) {
      stop_usage("{} belongs to the table", options.output);
    }
  }
}

Exit run(const Options& options) {
  const Table table(options.table, options.texts, reads_of(options.selection));
  if (!options.output.empty() && options.output != "-") check_output(options, table);
  Warnings warnings(options.strict);
  Progress progress("exporting", options.output.empty() || options.output == "-");
  const std::vector<std::size_t> fields = field_numbers(table, options.selection.fields);
  RowShape shape = shape_of(table, fields, options.selection.deleted);
  shape.crlf = options.crlf;
  if (!options.sql_name.empty()) shape.table = options.sql_name;
  RecordReader reader(table, options.texts, warnings);
  Walk walk(table, options.selection, warnings, progress);
  const auto format = format_of(options.format, shape);
  Output output(options.output);
  format->begin(output.buffer());
  std::vector<Value> values;
  while (walk.next()) {
    reader.read(walk.record(), walk.recno(), fields, values);
    format->add({walk.recno(), walk.is_deleted(), values}, output.buffer());
    output.write_when_full();
  }
  format->end(output.buffer());
  progress.look(1, 1);
  output.finish();
  warnings.finish();
  return Exit::done;
}

}  // namespace

void add_export(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command =
      commands.command("export", "Write the records of a table as CSV, JSON or SQL", options, run);
  command.required("FILE", options->table, "The table");
  command.choice("--to", options->format, "FORM", {"csv", "json", "jsonl", "sql"},
                 "The form: csv, json, jsonl or sql");
  command.must("--to");
  command.option("-o,--output", options->output, "OUT", "The file to write; else standard output");
  add_selection_options(command, options->selection);
  add_text_options(command, options->texts);
  command.flag("--crlf", options->crlf, "CSV lines end in CR LF");
  command.option("--table", options->sql_name, "NAME", "The table's name in SQL; else the file's");
  command.flag("--strict", options->strict,
               "Stop at a value that cannot be read as its type, instead of a warning");
  command.footer(
      "Texts leave as UTF-8, dates as 2024-01-31. A value that cannot be read as its type is told\n"
      "and stays as it stands in CSV; in JSON and SQL it is null. An output file takes its place\n"
      "when it is whole.\n\n"
      "Examples:\n"
      "  vqdb export world.dbf --to csv -o world.csv\n"
      "  vqdb export world.dbf --to jsonl --fields NAME_LONG,POP --for 'POP > 1E8'\n"
      "  vqdb export old.dbf --to csv --encoding 850\n"
      "  vqdb export world.dbf --to sql | sqlite3 world.db");
}

}  // namespace tool
