#include <memory>

#include "assignments.h"
#include "change.h"
#include "commands/command.h"
#include "expression.h"
#include "field_writer.h"
#include "selection.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::vector<std::string> values;
  std::vector<std::string> indexes;
  bool cut = false;
  Selection selection;
  TextOptions texts;
};

// The values that a record gets.
class Updates {
 public:
  Updates(const Table& table, const std::vector<Assignment>& assignments) : table_(table) {
    for (const Assignment& assignment : assignments) {
      fields_.push_back(assignment.field);
      expressions_.push_back(std::make_unique<Expression>(assignment.text, &table));
    }
  }

  // All of them are computed from the record as it was.
  void apply(const std::string& old, std::uint32_t recno, FieldWriter& writer,
             std::string& record) {
    record = old;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      try {
        writer.put(fields_[i], show(expressions_[i]->run(old.data())), record.data());
      } catch (const Misfit& misfit) {
        stop_failed("{}: record {}, field {}: {}; nothing was changed", table_.path(), recno,
                    fields_[i].name, misfit.why);
      }
    }
  }

 private:
  const Table& table_;
  std::vector<Field> fields_;
  std::vector<std::unique_ptr<Expression>> expressions_;
};

Exit run(const Options& options) {
  const Table table(options.table, options.texts);
  const std::vector<Assignment> assignments = parse_assignments(table, options.values);
  Updates updates(table, assignments);
  Change change(options.table, options.indexes);
  const std::vector<std::uint32_t> records = matching_records(table, options.selection);
  FieldWriter writer(table.encoding(), options.cut, change.memo(), is_dbase3(table.header()),
                     &change.block());
  const bool is_one_step =
      records.size() == 1 && (!writes_memo(assignments) || is_dbase3(table.header()));
  if (!records.empty() && !is_one_step) change.back_up();
  Progress progress("updating");
  std::string old(table.record_length(), ' ');
  std::string record;
  std::uint64_t count = 0;
  for (const std::uint32_t recno : records) {
    table.read(recno, old.data());
    updates.apply(old, recno, writer, record);
    change.update(recno, old.data(), record.data());
    progress.at(++count, records.size());
  }
  progress.look(1, 1);
  change.commit();
  fmt::print("{}: {} updated{}\n", table.path(), records_text(count), cuts_text(writer.cuts()));
  return count == 0 ? Exit::no : Exit::done;
}

}  // namespace

void add_update(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("update", "Change the records that match", options, run);
  command.required("TABLE", options->table, "The table");
  command.required("FIELD=EXPR", options->values, "What fields become: an expression each");
  command.option("--for", options->selection.filter, "EXPR", "The records for which this is true");
  command.must("--for");
  command.flag("--deleted", options->selection.deleted, "Deleted records as well");
  add_change_options(command, options->indexes, options->cut);
  add_text_options(command, options->texts);
  command.footer(
      "All expressions see the record as it was. When one value does not fit its field nothing is\n"
      "changed. Exit code 1: no record matches.\n\n"
      "Examples:\n"
      "  vqdb update towns --for 'NAME = \"Porto\"' PEOPLE=PEOPLE+1000\n"
      "  vqdb update towns --for .T. NAME='UPPER(NAME)' CAPITAL=.F.");
}

}  // namespace tool
