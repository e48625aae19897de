#include "file_names.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "system.h"

namespace tool {
namespace {

constexpr std::string_view kSeparators = "/\\";

// Where the extension begins, npos without one.
std::size_t extension_at(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  const std::size_t slash = name.find_last_of(kSeparators);
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
    return std::string::npos;
  }
  return dot;
}

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, upper, upper);
}

std::string to_upper(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(), upper);
  return out;
}

std::string to_lower(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(), lower);
  return out;
}

std::optional<std::string> find_file(const std::string& name) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (fs::exists(name, error)) return spelling_of(name);
  const std::string folder = folder_of(name);
  const std::string base = name.substr(folder.size());
  std::vector<std::string> matches;
  for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end;
       !error && entry != end; entry.increment(error)) {
    std::string found = entry->path().filename().string();
    if (equal_ignoring_case(found, base)) matches.push_back(std::move(found));
  }
  if (matches.empty()) return std::nullopt;
  return folder + *std::ranges::min_element(matches);
}

NamePair split_at_semicolon(const std::string& name) {
  const std::size_t at = name.find(';');
  if (at == std::string::npos) return {name, ""};
  return {name.substr(0, at), name.substr(at + 1)};
}

std::string with_extension(const std::string& name, std::string_view extension) {
  if (extension_at(name) != std::string::npos) return name;
  return name + "." + std::string(extension);
}

std::string replace_extension(const std::string& name, std::string_view extension) {
  return name.substr(0, extension_at(name)) + "." + std::string(extension);
}

std::string stem_of(const std::string& path) {
  const std::string base = path.substr(folder_of(path).size());
  return base.substr(0, extension_at(base));
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.find_last_of(kSeparators);
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

}  // namespace tool
