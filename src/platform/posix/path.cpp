#include "platform/path.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <optional>

#include "platform/fault.h"
#include "platform/file.h"

namespace vqdb::platform {
namespace {

bool is_directory(const std::string& path) {
  struct stat about = {};
  return ::stat(path.c_str(), &about) == 0 && S_ISDIR(about.st_mode);
}

template <typename Visit>
void for_each_name_in(const std::string& directory, Visit visit) {
  if (verdict(Call::look) != Verdict::go_on) return;
  const auto close = [](DIR* stream) { ::closedir(stream); };
  const std::unique_ptr<DIR, decltype(close)> stream(
      ::opendir(directory.empty() ? "." : directory.c_str()), close);
  if (stream == nullptr) return;
  while (const dirent* entry = ::readdir(stream.get())) visit(std::string_view(entry->d_name));
}

// The first entry of the directory, in sorted order, that equals the name but for case.
std::optional<std::string> match(const std::string& directory, std::string_view name) {
  const std::string wanted = upper_case(name);
  std::optional<std::string> best;
  for_each_name_in(directory, [&](std::string_view candidate) {
    if (candidate.size() != wanted.size() || upper_case(candidate) != wanted) return;
    if (!best || candidate < *best) best = std::string(candidate);
  });
  return best;
}

std::string resolve_directory(std::string_view text) {
  const std::string given(text);
  if (given.empty() || is_directory(given)) return given;
  std::string path;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = text.find('/', start);
    const std::string_view component = text.substr(start, end - start);
    if (component.empty() || is_directory(path + std::string(component))) {
      path += component;
    } else {
      path += match(path, component).value_or(std::string(component));
    }
    path += '/';
    start = end == std::string_view::npos ? text.size() : end + 1;
  }
  return path;
}

}  // namespace

std::string resolve(std::string_view name) {
  std::string given(name);
  for (char& c : given) {
    if (c == '\\') c = '/';
  }
  const std::size_t slash = given.rfind('/');
  const std::size_t base = slash == std::string::npos ? 0 : slash + 1;
  const std::string directory = resolve_directory(std::string_view(given).substr(0, base));
  const std::string file = given.substr(base);
  if (exists(directory + file)) return directory + file;
  const std::string upper_file = upper_case(file);
  if (exists(directory + upper_file)) return directory + upper_file;
  if (const auto found = match(directory, file)) return directory + *found;
  return directory + upper_file;
}

std::vector<std::string> names_in(const std::string& directory) {
  std::vector<std::string> names;
  for_each_name_in(directory, [&](std::string_view name) { names.emplace_back(name); });
  return names;
}

std::uint32_t process_number() { return static_cast<std::uint32_t>(::getpid()); }

char separator() { return '/'; }

}  // namespace vqdb::platform
