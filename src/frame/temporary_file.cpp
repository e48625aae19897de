#include "frame/temporary_file.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

#include "frame/file_name.h"
#include "platform/path.h"

namespace vqdb {
namespace {

using platform::Error;
using platform::Outcome;

// ~VQ, the number of the process, a point, sixteen digits as good as random, and the extension.
constexpr std::string_view kStart = "~VQ";
constexpr std::string_view kDecimals = "0123456789";
constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr std::size_t kRandomDigits = 16;
constexpr std::string_view kExtension = ".VQT";

constexpr int kMostTries = 100;

std::uint64_t next_random() {
  static std::atomic<std::uint64_t> calls{0};
  const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
  std::uint64_t bits = static_cast<std::uint64_t>(now) + ++calls * 0x9E3779B97F4A7C15;
  bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
  bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
  return bits ^ bits >> 31;
}

std::string new_name() {
  std::string name(kStart);
  name.append(std::to_string(platform::process_number())).append(".");
  std::uint64_t random = next_random();
  for (std::size_t i = 0; i < kRandomDigits; ++i, random >>= 4) name += kDigits[random & 15];
  return name.append(kExtension);
}

bool is_own_name(std::string_view name) {
  if (!name.starts_with(kStart) || !name.ends_with(kExtension)) return false;
  name = name.substr(kStart.size(), name.size() - kStart.size() - kExtension.size());
  const std::size_t point = name.find('.');
  if (point == 0 || point == name.npos || name.size() != point + 1 + kRandomDigits) return false;
  return name.substr(0, point).find_first_not_of(kDecimals) == name.npos &&
         name.substr(point + 1).find_first_not_of(kDigits) == name.npos;
}

// Removes what processes left there that have died.
void clear_up(const std::string& directory) {
  for (const std::string& name : platform::names_in(directory)) {
    if (is_own_name(name)) static_cast<void>(platform::remove_abandoned(directory + name));
  }
}

// Offers names to make(path), which answers already_exists for a taken one.
template <typename Make>
Outcome under_new_name(const std::string& directory, Make make) {
  Outcome outcome{Error::already_exists, 0};
  for (int i = 0; i < kMostTries && outcome.error == Error::already_exists; ++i) {
    outcome = make(directory + new_name());
  }
  return outcome;
}

// The directory that a path begins with, spelt as the system has it.
std::string real_directory(std::string_view directory) {
  return std::string(directory_of(platform::resolve(std::string(directory) + new_name())));
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
  if (!path_.empty() && file_.is_at(path_)) (void)platform::remove(path_);
}

Outcome TemporaryFile::make(const VqBlock& block, const std::string& target) {
  const Outcome known = platform::real_path(target, target_);
  return known.ok() ? make_in(block.temporary_directory) : known;
}

Outcome TemporaryFile::make_beside(const std::string& target) {
  const Outcome known = platform::real_path(target, target_);
  return known.ok() ? make_in(directory_of(target_)) : known;
}

Outcome TemporaryFile::make_in(std::string_view where) {
  const std::string directory = real_directory(where);
  clear_up(directory);
  return under_new_name(directory, [this](const std::string& path) {
    std::string name = path;  // before there is a file that nobody would remove
    const Outcome outcome = file_.create_replacement(path, target_);
    if (outcome.ok()) path_.swap(name);
    return outcome;
  });
}

// Whatever else came to stand under the name stays there.
Outcome TemporaryFile::complete() {
  const Outcome outcome = file_.sync();
  return !outcome.ok() || file_.is_at(path_) ? outcome : Outcome{Error::not_found, 0};
}

Outcome TemporaryFile::put_in_place(platform::File* replaced, platform::Replaced old) {
  Outcome outcome = complete();
  if (!platform::kReplacesOpenFiles && replaced != nullptr) (void)replaced->close();
  if (outcome.ok()) outcome = platform::replace(path_, target_, old);
  if (outcome.error == Error::other_device) return copy_into_place(old);
  if (outcome.ok()) path_.clear();
  return outcome;
}

Outcome TemporaryFile::put_at(const std::string& path) {
  Outcome outcome = complete();
  if (outcome.ok()) outcome = platform::rename_if_free(path_, path);
  if (outcome.ok()) path_.clear();
  return outcome;
}

Outcome TemporaryFile::copy_into_place(platform::Replaced old) {
  TemporaryFile copy;
  Outcome outcome = copy.make_beside(target_);
  if (outcome.ok()) outcome = copy_bytes(file_, copy.file_);
  return outcome.ok() ? copy.put_in_place(nullptr, old) : outcome;
}

Outcome make_scratch_file(const VqBlock& block, platform::File& file) {
  return under_new_name(real_directory(block.temporary_directory),
                        [&](const std::string& path) { return file.create_scratch(path); });
}

}  // namespace vqdb
