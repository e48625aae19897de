// A file that exists while somebody works on it.
#ifndef VQDBSYS_FRAME_TEMPORARY_FILE_H_
#define VQDBSYS_FRAME_TEMPORARY_FILE_H_

#include <string>
#include <string_view>

#include "platform/error.h"
#include "vqdbsys.h"

namespace vqdb {

// Removed when its owner goes out of scope, unless it was put elsewhere before.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Makes an empty file in the block's temporary directory under a name that no other file had, in
  // this process or another.
  platform::Outcome make(const VqBlock& block, std::string_view extension);
  // The same in the directory of another file, so that it can take that file's place at once.
  platform::Outcome make_beside(const std::string& path, std::string_view extension);
  const std::string& path() const { return path_; }
  // Puts it, closed, in the place of another file; see put_in_place.
  platform::Outcome put_in_place_of(const std::string& path);

 private:
  platform::Outcome make_in(std::string_view directory, std::string_view extension);

  std::string path_;
};

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_TEMPORARY_FILE_H_
