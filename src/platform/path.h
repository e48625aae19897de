// Which file of the system a name means. On Windows the system knows by itself; elsewhere names
// are matched as given, then upper-cased, then without regard to case, component by component, and
// both `\` and `/` separate.
#ifndef VQDBSYS_PLATFORM_PATH_H_
#define VQDBSYS_PLATFORM_PATH_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vqdb::platform {

// The path of the file that `name` (already carrying its extension, in any case) means: an
// existing one if there is a match, else the upper-cased name in its directory.
std::string resolve(std::string_view name);

// The names in a directory, given with its separator or, for the current one, empty; none where it
// cannot be read.
std::vector<std::string> names_in(const std::string& directory);

// The system's number for this process.
std::uint32_t process_number();

// ASCII letters upper-cased, every other byte as it is.
std::string upper_case(std::string_view text);

// The separator that ends a directory text on this system.
char separator();

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_PATH_H_
