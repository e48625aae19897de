#include "frame/system_file.h"

namespace vqdb {
namespace {

constexpr Operation kOpenFile{1042};

}  // namespace

Result open_result(platform::Error error) {
  switch (error) {
    case platform::Error::none:
      return Result::ok;
    case platform::Error::not_found:
      return Result::not_found;
    case platform::Error::too_many_open:
      return Result::too_many_files;
    case platform::Error::access_denied:
      return Result::access_denied;
    case platform::Error::disk_full:
      return Result::disk_full;
    case platform::Error::linked:
      return Result::not_allowed;
    default:
      return Result::io;
  }
}

platform::Outcome force_out(const VqBlock& block, platform::File& file) {
  return (block.runtime_flags & runtime_flag::kDurable) != 0 ? file.sync() : platform::Outcome{};
}

Result open_file(VqBlock& block, const std::string& path, std::uint32_t mode,
                 platform::File& file) {
  const bool read_only = (mode & open_mode::kReadOnly) != 0;
  const platform::Outcome outcome = file.open(
      path, read_only ? platform::Access::read_write_or_read : platform::Access::read_write);
  if (outcome.ok()) return Result::ok;
  const bool missing = outcome.error == platform::Error::not_found;
  return fail(block, open_result(outcome.error), kOpenFile.detail(missing ? 1 : 2));
}

}  // namespace vqdb
