#include "written_help.h"

#include <fstream>

#include "completion.h"
#include "manual.h"
#include "stop.h"

namespace tool {
namespace {

void write(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) stop_failed("{}: cannot be written", path);
}

void write_pages(const CommandNote& command, const CommandNote* above, const std::string& folder) {
  write(folder + "/" + manual_name(command) + ".1", manual_page(command, above));
  for (const CommandNote& part : command.parts) write_pages(part, &command, folder);
}

}  // namespace

void write_help(const CommandNote& program, const std::string& folder) {
  write_pages(program, nullptr, folder);
  write(folder + "/vqdb.bash", bash_completion(program));
  write(folder + "/_vqdb", zsh_completion(program));
}

}  // namespace tool
