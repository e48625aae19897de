#include "folder.h"

#include <cstdlib>
#include <filesystem>

#include "require.h"

namespace vqdb::bench {
namespace {

class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "VQBENCH.XXXXXX").string();
    require(::mkdtemp(pattern.data()) != nullptr, "make the folder");
    path_ = pattern;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace

std::string file_in_folder(std::string_view name) {
  static const Folder folder;
  return (folder.path() / name).string();
}

std::string fresh_file(std::string_view name) {
  std::string path = file_in_folder(name);
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
  return path;
}

}  // namespace vqdb::bench
