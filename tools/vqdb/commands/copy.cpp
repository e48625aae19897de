#include <filesystem>

#include "change.h"
#include "commands/command.h"
#include "file_names.h"
#include "group_copy.h"
#include "new_table.h"
#include "progress.h"
#include "table.h"
#include "table_maker.h"
#include "working_block.h"

namespace tool {
namespace {

struct Options {
  std::string from;
  std::string to;
  std::string keys;
  bool force = false;
};

// A target that is the source under whatever name would be moved out of its own way.
void check_target(const Table& from, const std::string& to) {
  const auto there = find_file(with_extension(to, "dbf"));
  std::error_code error;
  if (there && std::filesystem::equivalent(*there, from.path(), error)) {
    stop_usage("{} is {} itself", to, from.path());
  }
}

// What is beside the table and not of its group goes along.
void copy_code_page(const std::string& from, const std::string& to) {
  const auto cpg = find_file(replace_extension(from, "cpg"));
  if (cpg) std::filesystem::copy_file(*cpg, replace_extension(to, "cpg"));
}

Exit copy(const Options& options) {
  const Table table(options.from, {});
  check_target(table, options.to);
  Change source(options.from, {});  // nobody changes it meanwhile
  source.leave_indexes();
  NewTable target(options.to, options.force);
  const auto block = working_block(table.header());
  Progress progress("copying");
  {
    const Progress::Watch watch(*block, progress);
    require(*block, dDcat(block.get(), target.name().c_str(), table.path().c_str()), options.from);
  }
  const std::string path = target.path();
  copy_code_page(table.path(), path);
  copy_memo_file(table, path);
  progress.look(1, 1);
  const std::size_t indexes = copy_indexes(table, source.group(), path, target);
  progress.look(1, 1);
  target.commit();
  fmt::print("{}: {} records, {} indexes\n", path, table.record_count(), indexes);
  return Exit::done;
}

Exit sort(const Options& options) {
  const Table table(options.from, {});
  check_target(table, options.to);
  Change source(options.from, {});
  source.leave_indexes();
  NewTable target(options.to, options.force);
  const auto block = working_block(table.header());
  Progress progress("sorting");
  {
    const Progress::Watch watch(*block, progress);
    const std::string keys = table.encode(options.keys);
    require(*block, dDsort(block.get(), table.path().c_str(), target.name().c_str(), keys.c_str()),
            options.keys);
  }
  const std::string path = target.path();
  restore_language(path, table.header());
  copy_code_page(table.path(), path);
  copy_memo_file(table, path);
  progress.look(1, 1);
  const std::size_t indexes = build_indexes(table, source.group(), path, target);
  target.commit();
  fmt::print("{}: {} records, {} indexes\n", path, table.record_count(), indexes);
  return Exit::done;
}

void add_names(CommandLine& command, Options& options) {
  command.required("TABLE", options.from, "The table");
  command.required("TARGET", options.to, "The table to make");
}

}  // namespace

void add_copy(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command =
      commands.command("copy", "Copy a table with its memo file and its indexes", options, copy);
  add_names(command, *options);
  command.flag("--force", options->force, "Replace a table that is there");
  command.footer(
      "Deleted records are copied as they are.\n\n"
      "Examples:\n"
      "  vqdb copy towns backup/towns\n"
      "  vqdb copy towns towns2 --force");
}

void add_sort(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command =
      commands.command("sort", "Write a table's records in another order", options, sort);
  add_names(command, *options);
  command.required("KEYS", options->keys, "Fields, each with /A or /D, and C to ignore case");
  command.flag("--force", options->force, "Replace a table that is there");
  command.footer(
      "Memo file and indexes go along. Records with equal keys keep their order.\n\n"
      "Examples:\n"
      "  vqdb sort towns bysize PEOPLE/D,NAME/AC");
}

}  // namespace tool
