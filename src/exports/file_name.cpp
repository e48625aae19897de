// dUexpnm: file names as the library takes them.
#include "frame/file_name.h"

#include <algorithm>
#include <cstring>

#include "exports/guard.h"
#include "frame/bytes.h"
#include "vqdbsys.h"

namespace {

constexpr std::size_t kMaxExpandedName = 127;

}  // namespace

extern "C" char* VQ_CALL dUexpnm(const char* name, const char* extension, char* out) {
  if (out == nullptr) return nullptr;
  *out = '\0';
  if (name == nullptr || extension == nullptr) return out;
  (void)vqdb::exports::guarded([&] {
    std::string expanded = vqdb::with_extension(name, extension);
    if (expanded.size() > kMaxExpandedName) return 0;
    std::transform(expanded.begin(), expanded.end(), expanded.begin(), vqdb::to_upper);
    std::memcpy(out, expanded.c_str(), expanded.size() + 1);
    return 0;
  });
  return out;
}
