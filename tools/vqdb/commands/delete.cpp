#include "assignments.h"
#include "change.h"
#include "commands/command.h"
#include "selection.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::vector<std::uint32_t> records;
  std::vector<std::string> indexes;
  Selection selection;
  TextOptions texts;
};

// One of the two directions.
struct Marking {
  const char* done;
  bool deleted;  // what a record is afterwards
  int32_t(VQ_CALL* mark)(VqDatabase*, uint32_t);
};
constexpr Marking kDelete = {"deleted", true, DBdelrec};
constexpr Marking kRecall = {"recalled", false, DBrclrec};

std::vector<std::uint32_t> matching(const Options& options, const Table& table, bool wanted_state) {
  Selection selection = options.selection;
  selection.deleted = true;
  return matching_records(table, selection,
                          [&](const Walk& walk) { return walk.is_deleted() != wanted_state; });
}

Exit mark(const Options& options, const Marking& marking) {
  if (options.records.empty() == options.selection.filter.empty()) {
    stop_usage("which records? Either --for or record numbers");
  }
  const Table table(options.table, options.texts);
  Change change(options.table, options.indexes);
  const std::vector<std::uint32_t> records =
      options.records.empty() ? matching(options, table, marking.deleted) : options.records;
  if (records.size() > 1) change.back_up();
  Progress progress(marking.done);
  std::uint64_t count = 0;
  for (const std::uint32_t recno : records) {
    require(change.block(), marking.mark(change.database(), recno),
            fmt::format("{}: record {}", table.path(), recno));
    progress.at(++count, records.size());
  }
  change.commit();
  fmt::print("{}: {} {}\n", table.path(), records_text(records.size()), marking.done);
  return records.empty() ? Exit::no : Exit::done;
}

Exit run_delete(const Options& options) { return mark(options, kDelete); }
Exit run_recall(const Options& options) { return mark(options, kRecall); }

void add_options(CommandLine& command, Options& options) {
  command.required("TABLE", options.table, "The table");
  command.optional("N", options.records, "Record numbers");
  add_filter_option(command, options.selection.filter);
  add_index_option(command, options.indexes);
  add_text_options(command, options.texts);
}

}  // namespace

void add_delete(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("delete", "Mark records as deleted", options, run_delete);
  add_options(command, *options);
  command.footer(
      "Deleted records stay in the file until it is packed. Exit code 1: no record matches.\n\n"
      "Examples:\n"
      "  vqdb delete towns 3 7\n"
      "  vqdb delete towns --for 'PEOPLE < 1000'");
}

void add_recall(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command =
      commands.command("recall", "Take the deletion mark from records", options, run_recall);
  add_options(command, *options);
  command.footer(
      "Exit code 1: no record matches.\n\n"
      "Examples:\n"
      "  vqdb recall towns 3\n"
      "  vqdb recall towns --for .T.");
}

}  // namespace tool
