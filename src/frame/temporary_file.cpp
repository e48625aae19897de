#include "frame/temporary_file.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>

#include "frame/file_name.h"
#include "platform/path.h"

namespace vqdb {
namespace {

using platform::Error;
using platform::Outcome;

constexpr std::string_view kExtension = ".VQT";

// The last number used in a temporary name, by anyone in this process.
std::atomic<std::uint32_t> last_number{0};

// Offers one name after another to make(path), which answers already_exists for a taken one, until
// every number has been tried.
template <typename Make>
Outcome under_new_name(std::string_view directory, Make make) {
  const std::uint32_t start = last_number.load();
  for (;;) {
    const std::uint32_t number = ++last_number;
    if (number == start) return {Error::already_exists, 0};
    const std::string path =
        platform::resolve(std::string(directory).append(std::to_string(number)).append(kExtension));
    Outcome outcome = make(path);
    if (outcome.error == Error::already_exists && platform::remove_abandoned(path)) {
      outcome = make(path);
    }
    if (outcome.error != Error::already_exists) return outcome;
  }
}

Outcome copy_bytes(platform::File& from, platform::File& to) {
  std::array<char, platform::kChunkBytes> bytes;
  std::uint64_t left = 0;
  Outcome outcome = from.size(left);
  for (std::uint64_t offset = 0; outcome.ok() && left > 0;) {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes.size()));
    outcome = from.read_exactly(offset, bytes.data(), size);
    if (outcome.ok()) outcome = to.write_at(offset, bytes.data(), size);
    offset += size;
    left -= size;
  }
  return outcome;
}

}  // namespace

TemporaryFile::~TemporaryFile() {
  if (!path_.empty()) (void)platform::remove(path_);
}

Outcome TemporaryFile::make(const VqBlock& block, const std::string& target) {
  target_ = platform::real_path(target);
  return make_in(block.temporary_directory);
}

Outcome TemporaryFile::make_beside(const std::string& target) {
  target_ = platform::real_path(target);
  return make_in(directory_of(target_));
}

Outcome TemporaryFile::make_in(std::string_view directory) {
  return under_new_name(directory, [this](const std::string& path) {
    const Outcome outcome = file_.create_replacement(path, target_);
    if (outcome.ok()) path_ = path;
    return outcome;
  });
}

Outcome TemporaryFile::put_in_place() {
  Outcome outcome = file_.sync();
  if (outcome.ok()) outcome = platform::replace(path_, target_);
  if (outcome.error == Error::other_device) return copy_into_place();
  if (outcome.ok()) path_.clear();
  return outcome;
}

Outcome TemporaryFile::put_at(const std::string& path) {
  Outcome outcome = file_.sync();
  if (outcome.ok()) outcome = platform::rename_if_free(path_, path);
  if (outcome.ok()) path_.clear();
  return outcome;
}

Outcome TemporaryFile::copy_into_place() {
  TemporaryFile copy;
  Outcome outcome = copy.make_beside(target_);
  if (outcome.ok()) outcome = copy_bytes(file_, copy.file_);
  return outcome.ok() ? copy.put_in_place() : outcome;
}

Outcome make_scratch_file(const VqBlock& block, platform::File& file) {
  return under_new_name(block.temporary_directory,
                        [&](const std::string& path) { return file.create_scratch(path); });
}

}  // namespace vqdb
