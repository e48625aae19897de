// File names as callers write them: the default-extension rule and the part behind a semicolon.
#ifndef VQDBSYS_FRAME_FILE_NAME_H_
#define VQDBSYS_FRAME_FILE_NAME_H_

#include <string>
#include <string_view>

namespace vqdb {

// The name up to its first `;`, with "." and the extension behind it when it has none. A name
// that ends in a point keeps it. The case stays as it is.
std::string with_extension(std::string_view name, std::string_view extension);

// The name up to its first `;`, with its extension, if any, replaced by this one.
std::string replace_extension(std::string_view name, std::string_view extension);

// The path of the file that the name means; see platform::resolve.
std::string path_of(std::string_view name, std::string_view extension);

// The text behind the first `;`; empty when there is none.
std::string_view behind_semicolon(std::string_view name);

// The file name without directory and extension.
std::string_view base_name(std::string_view path);

// The directory of a path, with the separator that ends it; empty for a bare file name.
std::string_view directory_of(std::string_view path);

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_FILE_NAME_H_
