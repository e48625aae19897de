#include "assignments.h"
#include "change.h"
#include "commands/command.h"
#include "field_writer.h"
#include "selection.h"
#include "table.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::vector<std::string> values;
  std::vector<std::string> indexes;
  bool cut = false;
  TextOptions texts;
};

Exit run(const Options& options) {
  const Table reader(options.table, options.texts);
  const std::vector<Assignment> assignments = parse_assignments(reader, options.values);
  Change change(options.table, options.indexes);
  FieldWriter writer(reader.encoding(), options.cut, change.memo(), is_dbase3(reader.header()),
                     &change.block());
  std::string record(reader.record_length(), ' ');
  for (const Assignment& assignment : assignments) {
    try {
      writer.put(assignment.field, assignment.text, record.data());
    } catch (const Misfit& misfit) {
      stop_failed("{}: field {}: {}", reader.path(), assignment.field.name, misfit.why);
    }
  }
  std::uint32_t recno = 0;
  const int32_t result = DBapprec(change.database(), record.data(), &recno);
  if (result != VQ_OK && recno != 0) {
    stop_failed("{}: {}; record {} is appended, but not in every index: index rebuild mends that",
                reader.path(), words_of(result, change.block().detail), recno);
  }
  require(change.block(), result, reader.path());
  change.commit();
  fmt::print("{}: record {} appended{}\n", reader.path(), recno, cuts_text(writer.cuts()));
  return Exit::done;
}

}  // namespace

void add_append(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("append", "Append a record", options, run);
  command.required("TABLE", options->table, "The table");
  command.required("FIELD=VALUE", options->values, "Its values; fields not named are blank");
  add_change_options(command, options->indexes, options->cut);
  add_text_options(command, options->texts);
  command.footer(
      "Dates are written 2024-01-31, logical values true or false. A value that does not fit its\n"
      "field is refused.\n\n"
      "Examples:\n"
      "  vqdb append towns NAME=Porto PEOPLE=231800 FOUNDED=1123-01-01 CAPITAL=false\n"
      "  vqdb append towns NAME='Villa Real' NOTES='On the border.'");
}

}  // namespace tool
