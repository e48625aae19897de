#include "frame/temporary_file.h"

#include "frame/file_name.h"
#include "frame/put_in_place.h"
#include "platform/file.h"

namespace vqdb {

TemporaryFile::~TemporaryFile() {
  if (!path_.empty()) (void)platform::remove(path_);
}

platform::Outcome TemporaryFile::make(const VqBlock& block, std::string_view extension) {
  return make_in(block.temporary_directory, extension);
}

platform::Outcome TemporaryFile::make_beside(const std::string& path, std::string_view extension) {
  return make_in(directory_of(path), extension);
}

platform::Outcome TemporaryFile::make_in(std::string_view directory, std::string_view extension) {
  for (;;) {
    const auto path = temporary_path_in(directory, extension);
    if (!path) return {platform::Error::already_exists, 0};
    platform::File file;
    const platform::Outcome outcome = file.create(*path, platform::Creation::exclusive);
    if (outcome.error == platform::Error::already_exists) continue;
    if (outcome.ok()) path_ = *path;
    return outcome;
  }
}

platform::Outcome TemporaryFile::put_in_place_of(const std::string& path) {
  const platform::Outcome outcome = put_in_place(path_, path);
  if (outcome.ok()) path_.clear();
  return outcome;
}

}  // namespace vqdb
