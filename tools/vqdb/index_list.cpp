#include "index_list.h"

#include <vqdbsys.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "file_names.h"
#include "stop.h"
#include "table.h"

namespace tool {
namespace {

// The library writes the list of a group that it opens.
constexpr std::uint32_t kReadOnly = VQ_OPEN_READ_ONLY | VQ_OPEN_WITHOUT_MEMO;
constexpr int32_t kPages = 4;

// The names of a list are read from the working folder.
class WorkingFolder {
 public:
  explicit WorkingFolder(const std::string& folder) : before_(std::filesystem::current_path()) {
    if (!folder.empty()) std::filesystem::current_path(folder);
  }
  ~WorkingFolder() {
    std::error_code ignored;
    std::filesystem::current_path(before_, ignored);
  }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
  std::filesystem::path before_;
};

// As hosts name an index: from the table's folder, and without the extension that its kind has
// anyway.
std::string listed_name(const IndexFile& file, const std::string& table_path) {
  namespace fs = std::filesystem;
  const fs::path path = fs::absolute(file.path).lexically_normal();
  const fs::path home = fs::absolute(table_path).lexically_normal().parent_path();
  const std::string name = (path.parent_path() == home ? path.filename() : path).string();
  const std::string plain = name.substr(0, name.rfind('.'));
  const bool is_usual = is_listable(plain) &&
                        equal_ignoring_case(with_extension(plain, extension_of(file.kind)), name);
  return is_usual ? plain : name;
}

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

bool is_marked(const std::string& table_path) {
  const auto path = find_file(replace_extension(table_path, "dd"));
  std::string line;
  return path && std::getline(std::ifstream(*path), line) && line.starts_with(kPackMark);
}

bool can_list(const std::string& table_path, const IndexFile& file) {
  return is_listable(listed_name(file, table_path));
}

void write_index_list(const std::string& table_path, const std::vector<IndexFile>& group) {
  const std::string wanted = replace_extension(table_path, "DD");
  const std::string path = find_file(wanted).value_or(wanted);
  if (is_marked(table_path)) stop_failed("{}: the table is being packed", path);
  if (group.empty()) {
    std::remove(path.c_str());
    return;
  }
  std::vector<std::string> names;
  std::string lines;
  for (const IndexFile& file : group) {
    names.push_back(listed_name(file, table_path));
    lines.append(keyword_of(file.kind)).append("=").append(names.back()).append("\r\n");
  }
  std::vector<VqIndexSpec> specs;
  for (std::size_t i = 0; i < group.size(); ++i) {
    specs.push_back({group[i].kind, names[i].c_str(), kPages, nullptr});
  }
  const auto block = std::make_unique<VqBlock>();
  require(*block, DBinit(block.get(), dialect_of(read_header(table_path))), table_path);
  VqDatabase* database = nullptr;
  {
    const std::string folder = folder_of(table_path);
    const WorkingFolder inside(folder);
    const int32_t result =
        DBopen(block.get(), table_path.substr(folder.size()).c_str(), kReadOnly, 1, VQ_SPECS_ARRAY,
               static_cast<int32_t>(specs.size()), specs.data(), &database, nullptr);
    require(*block, result, table_path);
  }
  DBclose(database);
  if (const auto list = find_file(wanted); !list || contents(*list) != lines) {
    stop_failed("{}: the list of the table's indexes could not be written", path);
  }
}

}  // namespace tool
