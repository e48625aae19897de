#include <filesystem>

#include "commands/command.h"
#include "file_names.h"
#include "memo_file.h"
#include "progress.h"
#include "table.h"
#include "working_block.h"

namespace tool {
namespace {

struct Options {
  std::string table;
};

std::uint64_t size_of(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  return error ? 0 : size;
}

Exit run(const Options& options) {
  const std::string path = find_table(options.table);
  const std::string memo_name = split_at_semicolon(options.table).second;
  const Header header = read_header(path);
  const std::string memo = memo_path_of(path, header.version, memo_name);
  if (!find_file(memo)) stop_failed("{}: there is no memo file {}", path, memo);
  const std::uint64_t before = size_of(memo);
  const auto block = working_block(header);
  Progress progress("compacting");
  {
    const Progress::Watch watch(*block, progress);
    const std::string name = memo_name.empty() ? path : path + ";" + memo_name;
    require(*block, DBcompact(block.get(), name.c_str()), path);
  }
  fmt::print("{}: {} bytes, {} before\n", memo, size_of(memo), before);
  return Exit::done;
}

}  // namespace

void add_compact(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command(
      "compact", "Give back the room of memo texts that no field names any more", options, run);
  command.required("TABLE", options->table, "The table (TABLE;MEMO names its memo file)");
  command.footer(
      "Every text that a field names is kept whole, in the order of the records. Table and memo\n"
      "file are written anew and take their places together. Damaged files are refused (check\n"
      "tells and mends).\n\n"
      "Examples:\n"
      "  vqdb compact orders");
}

}  // namespace tool
