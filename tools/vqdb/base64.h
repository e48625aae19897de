// Bytes that are no text, as text.
#ifndef VQDB_BASE64_H_
#define VQDB_BASE64_H_

#include <string>
#include <string_view>

namespace tool {

std::string base64(std::string_view bytes);

}  // namespace tool

#endif  // VQDB_BASE64_H_
