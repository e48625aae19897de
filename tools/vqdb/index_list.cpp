#include "index_list.h"

#include <cstdio>
#include <fstream>

#include "file_names.h"
#include "output.h"
#include "stop.h"

namespace tool {

bool is_marked(const std::string& table_path) {
  const auto path = find_file(replace_extension(table_path, "dd"));
  std::string line;
  return path && std::getline(std::ifstream(*path), line) && line.starts_with(kPackMark);
}

void write_index_list(const std::string& table_path, const std::vector<IndexFile>& group) {
  const std::string wanted = replace_extension(table_path, "DD");
  const std::string path = find_file(wanted).value_or(wanted);
  if (is_marked(table_path)) stop_failed("{}: the table is being packed", path);
  if (group.empty()) {
    std::remove(path.c_str());
    return;
  }
  Output list(path);
  const std::string folder = folder_of(table_path);
  for (const IndexFile& file : group) {
    const std::string name =
        folder_of(file.path) == folder ? file.path.substr(folder.size()) : file.path;
    list.buffer().append(keyword_of(file.kind)).append("=").append(name).append("\r\n");
  }
  list.finish();
}

}  // namespace tool
