#include "platform/path.h"

namespace vqdb::platform {

std::string resolve(std::string_view name) { return upper_case(name); }

char separator() { return '\\'; }

}  // namespace vqdb::platform
