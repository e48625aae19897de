#include "platform/path.h"

#include <windows.h>

namespace vqdb::platform {

std::string resolve(std::string_view name) { return upper_case(name); }

std::vector<std::string> names_in(const std::string& directory) {
  std::vector<std::string> names;
  WIN32_FIND_DATAA entry = {};
  const HANDLE search = ::FindFirstFileA((directory + "*").c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return names;
  do names.emplace_back(entry.cFileName);
  while (::FindNextFileA(search, &entry) != 0);
  ::FindClose(search);
  return names;
}

std::uint32_t process_number() { return ::GetCurrentProcessId(); }

char separator() { return '\\'; }

}  // namespace vqdb::platform
