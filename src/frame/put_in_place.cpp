#include "frame/put_in_place.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/file.h"

namespace vqdb {
namespace {

using platform::Outcome;

// The name of `from` in the directory of `to`.
std::string beside(const std::string& to, std::string_view from) {
  const std::size_t directory = to.find_last_of("\\/:") + 1;
  return to.substr(0, directory).append(from.substr(from.find_last_of("\\/:") + 1));
}

Outcome copy_bytes(platform::File& from, platform::File& to) {
  std::array<char, platform::kChunkBytes> bytes;
  for (std::uint64_t offset = 0;;) {
    std::size_t size = 0;
    Outcome outcome = from.read_at(offset, bytes.data(), bytes.size(), size);
    if (outcome.ok()) outcome = to.write_at(offset, bytes.data(), size);
    if (!outcome.ok() || size < bytes.size()) return outcome;
    offset += size;
  }
}

Outcome copy_file(const std::string& from, const std::string& to) {
  platform::File source;
  platform::File target;
  Outcome outcome = source.open(from, platform::Access::read_only);
  if (outcome.ok()) outcome = target.create(to, platform::Creation::exclusive);
  if (!outcome.ok()) return outcome;
  outcome = copy_bytes(source, target);
  if (outcome.ok()) outcome = target.sync();
  const Outcome closed = target.close();
  if (outcome.ok()) outcome = closed;
  if (!outcome.ok()) static_cast<void>(platform::remove(to).ok());
  return outcome;
}

}  // namespace

Outcome put_in_place(const std::string& from, const std::string& to) {
  Outcome outcome = platform::replace(from, to);
  if (outcome.error != platform::Error::other_device) return outcome;
  const std::string copy = beside(to, from);
  outcome = copy_file(from, copy);
  if (!outcome.ok()) return outcome;
  outcome = platform::replace(copy, to);
  static_cast<void>(platform::remove(outcome.ok() ? from : copy).ok());
  return outcome;
}

}  // namespace vqdb
