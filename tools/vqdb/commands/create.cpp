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
  if (!options.kind.encoding.empty()) const Encoding known(options.kind.encoding, "--encoding");
  NewTable table(options.table, options.kind.force);
  create_table(table.name(), fields, options.kind);
  const std::string path = table.path();
  if (!options.kind.encoding.empty()) mark_code_page(path, options.kind.encoding);
  table.commit();
  fmt::print("{}: {} fields\n", path, fields.size());
  return Exit::done;
}

}  // namespace

void add_create(CLI::App& app, Action& action) {
  auto options = std::make_shared<Options>();
  CLI::App& command = add_command(app, action, "create", "Make an empty table", options, run);
  command.add_option("TABLE", options->table, "The table to make")->required();
  command.add_option("FIELD", options->fields, "Its fields: NAME:TYPE")->required();
  command.add_option("--encoding", options->kind.encoding, "Code page of its texts, else 1252")
      ->type_name("NAME");
  add_new_table_options(command, options->kind);
  command.footer(
      "Types: C20 a text of at most 20 bytes, N10.2 and F10.2 a number of 10 characters with 2\n"
      "decimals, D a date, L true or false, M a memo of any length.\n\n"
      "Examples:\n"
      "  vqdb create towns NAME:C30 PEOPLE:N9 FOUNDED:D CAPITAL:L NOTES:M\n"
      "  vqdb create towns NAME:C30 PEOPLE:N9 --dialect 4 --encoding 850 --force");
}

}  // namespace tool
