#include "commands/command.h"
#include "encoding.h"
#include "new_table.h"
#include "table_maker.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::vector<std::string> fields;
  NewTableOptions kind;
};

Exit run(const Options& options) {
  std::vector<FieldSpec> fields;
  for (const std::string& field : options.fields) fields.push_back(parse_field_spec(field));
  const std::string page = options.kind.encoding.empty() ? "1252" : options.kind.encoding;
  const Encoding known(page, "--encoding");
  NewTable table(options.table, options.kind.force);
  create_table(table.name(), fields, options.kind);
  const std::string path = table.path();
  mark_code_page(path, known.name());
  table.commit();
  fmt::print("{}: {} fields\n", path, fields.size());
  return Exit::done;
}

}  // namespace

void add_create(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("create", "Make an empty table", options, run);
  command.required("TABLE", options->table, "The table to make");
  command.required("FIELD", options->fields, "Its fields: NAME:TYPE");
  command.option("--encoding", options->kind.encoding, "NAME", "Code page of its texts, else 1252");
  add_new_table_options(command, options->kind);
  command.footer(
      "Types: C20 a text of at most 20 bytes, N10.2 and F10.2 a number of 10 characters with 2\n"
      "decimals, D a date, L true or false, M a memo of any length.\n\n"
      "Examples:\n"
      "  vqdb create towns NAME:C30 PEOPLE:N9 FOUNDED:D CAPITAL:L NOTES:M\n"
      "  vqdb create towns NAME:C30 PEOPLE:N9 --dialect 4 --encoding 850 --force");
}

}  // namespace tool
