// Files that exist while somebody works on them. Their names are such as no host picks:
// ~VQ4711.00FF36A91B2C4D5E.VQT, with the number of the process.
#ifndef VQDBSYS_FRAME_TEMPORARY_FILE_H_
#define VQDBSYS_FRAME_TEMPORARY_FILE_H_

#include <string>
#include <string_view>

#include "platform/file.h"
#include "vqdbsys.h"

namespace vqdb {

// A file that takes the place of another once it is complete. It has that file's users and rights
// from its first byte on. Removed when its owner goes out of scope before; when its process dies,
// by the next one that works there.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Makes an empty file in the block's temporary directory, for the place of `target`, which need
  // not exist. A target that may not be written is access_denied; one that has several names is
  // linked, since all but one would keep the old file.
  platform::Outcome make(const VqBlock& block, const std::string& target);
  // The same beside the target, so that it can take its place without being copied.
  platform::Outcome make_beside(const std::string& target);

  const std::string& path() const { return path_; }
  // Where it is to be put, over links.
  const std::string& target() const { return target_; }
  // Open for reading and writing.
  platform::File& file() { return file_; }

  // Hands what the file holds to the device and puts it in the place of the target, or of the file
  // that the target leads to over links, in one step that a crash cannot split. When they lie on
  // different devices a copy beside the target takes that step. On failure the target is untouched.
  // `replaced` is the old file where the caller holds locks on it: it keeps them meanwhile, where
  // the system replaces open files. REQUIRES that nobody else has the new one open.
  platform::Outcome put_in_place(platform::File* replaced = nullptr,
                                 platform::Replaced old = platform::Replaced::emptied);
  // The same where there is no target by now; else already_exists, and what is there stays.
  // REQUIRES make_beside().
  platform::Outcome put_if_absent() { return put_at(target_); }
  // The same with another name beside the target.
  platform::Outcome put_at(const std::string& path);

 private:
  platform::Outcome make_in(std::string_view directory);
  platform::Outcome copy_into_place(platform::Replaced old);
  platform::Outcome complete();

  platform::File file_;
  std::string path_;
  std::string target_;  // not a link
};

// Makes an empty file in the block's temporary directory that only this handle reaches and that is
// gone when it is closed, however that comes about.
platform::Outcome make_scratch_file(const VqBlock& block, platform::File& file);

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_TEMPORARY_FILE_H_
