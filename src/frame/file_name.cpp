#include "frame/file_name.h"

#include "platform/path.h"

namespace vqdb {
namespace {

// Where the extension's point stands, searched backwards up to the start of the file name.
std::size_t find_point(std::string_view name) {
  for (std::size_t i = name.size(); i-- > 0;) {
    const char c = name[i];
    if (c == '.') return i;
    if (c == '\\' || c == '/' || c == ':') break;
  }
  return std::string_view::npos;
}

std::string_view before_semicolon(std::string_view name) { return name.substr(0, name.find(';')); }

}  // namespace

std::string with_extension(std::string_view name, std::string_view extension) {
  const std::string_view stem = before_semicolon(name);
  std::string result(stem);
  if (find_point(stem) != std::string_view::npos) return result;
  return result.append(".").append(extension);
}

std::string replace_extension(std::string_view name, std::string_view extension) {
  const std::string_view stem = before_semicolon(name);
  return std::string(stem.substr(0, find_point(stem))).append(".").append(extension);
}

std::string path_of(std::string_view name, std::string_view extension) {
  return platform::resolve(with_extension(name, extension));
}

std::string_view behind_semicolon(std::string_view name) {
  const std::size_t semicolon = name.find(';');
  return semicolon == std::string_view::npos ? std::string_view() : name.substr(semicolon + 1);
}

std::string_view base_name(std::string_view path) {
  const std::size_t separator = path.find_last_of("\\/:");
  const std::string_view file =
      separator == std::string_view::npos ? path : path.substr(separator + 1);
  return file.substr(0, file.rfind('.'));
}

std::string_view directory_of(std::string_view path) {
  return path.substr(0, path.find_last_of("\\/:") + 1);
}

}  // namespace vqdb
