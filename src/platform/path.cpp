#include "platform/path.h"

namespace vqdb::platform {

std::string upper_case(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return result;
}

}  // namespace vqdb::platform
