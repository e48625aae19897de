// Names of files as people give them, found the way the library finds them: as given, then without
// regard to case.
#ifndef VQDB_FILE_NAMES_H_
#define VQDB_FILE_NAMES_H_

#include <optional>
#include <string>
#include <string_view>

namespace tool {

// The file of this name, or nothing.
std::optional<std::string> find_file(const std::string& name);

// "towns.dbf;notes" in its parts; the second is empty without a semicolon.
struct NamePair {
  std::string first;
  std::string second;
};
NamePair split_at_semicolon(const std::string& name);

std::string with_extension(const std::string& name, std::string_view extension);
// The name with another extension in place of its own.
std::string replace_extension(const std::string& name, std::string_view extension);
// The last part of a path, without extension.
std::string stem_of(const std::string& path);
std::string folder_of(const std::string& path);  // ends in a separator, or is empty

bool equal_ignoring_case(std::string_view a, std::string_view b);
std::string to_upper(std::string_view text);
std::string to_lower(std::string_view text);

}  // namespace tool

#endif  // VQDB_FILE_NAMES_H_
