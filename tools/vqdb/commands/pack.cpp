#include <filesystem>

#include "assignments.h"
#include "change.h"
#include "commands/command.h"
#include "file_backup.h"
#include "file_names.h"
#include "index_list.h"
#include "progress.h"
#include "table.h"
#include "table_maker.h"
#include "working_block.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::vector<std::string> indexes;
};

// The names of an index list are read from the working folder.
std::string enter_folder_of(const std::string& path) {
  const std::string folder = folder_of(path);
  if (!folder.empty()) std::filesystem::current_path(folder);
  return path.substr(folder.size());
}

// A pack that was cut off can only go on to its end.
Exit resume(const std::string& path, const Header& header) {
  const std::string name = enter_folder_of(path);
  const auto block = working_block(header);
  require(*block, DBpack(block.get(), name.c_str()), path);
  fmt::print("{}: {} left\n", path, records_text(read_header(name).records));
  return Exit::done;
}

Exit run(const Options& options) {
  const std::string path = find_table(options.table);
  const Header header = read_header(path);
  if (is_marked(path)) return resume(path, header);
  std::vector<IndexFile> group;
  std::vector<FileBackup> backups;
  {
    const Change change(options.table, options.indexes);  // all of it is there, and nobody at work
    group = change.group();
    for (IndexFile& file : group) file.path = std::filesystem::absolute(file.path).string();
  }
  const std::string name = enter_folder_of(path);
  const std::string folder = (std::filesystem::current_path() / "").string();
  backups.emplace_back(name);
  for (const IndexFile& file : group) backups.emplace_back(file.path);
  if (const auto list = find_file(replace_extension(name, "dd"))) backups.emplace_back(*list);
  try {
    // What is not in the list would go on with the old record numbers.
    if (!group.empty()) {
      const TableLock lock(name, header);
      write_index_list(folder + name, group);
    }
    const auto block = working_block(header);
    Progress progress("packing");
    {
      const Progress::Watch watch(*block, progress);
      require(*block, DBpack(block.get(), name.c_str()), path);
    }
  } catch (...) {
    for (FileBackup& backup : backups) backup.restore();
    throw;
  }
  for (FileBackup& backup : backups) backup.forget();
  const Header packed = read_header(name);
  fmt::print("{}: {} removed, {} left\n", path, records_text(header.records - packed.records),
             packed.records);
  return Exit::done;
}

}  // namespace

void add_pack(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command =
      commands.command("pack", "Remove the deleted records from the file", options, run);
  command.required("TABLE", options->table, "The table");
  add_index_option(command, options->indexes);
  command.footer(
      "The records behind a removed one move up, and every index of the table is built again. The\n"
      "texts that removed records leave in the memo file are given back by compact. A pack that "
      "was\n"
      "cut off is finished.\n\n"
      "Examples:\n"
      "  vqdb pack towns");
}

}  // namespace tool
