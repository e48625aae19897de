// Copies of files with some bytes changed on the way.
#ifndef VQDBSYS_CHECK_PATCHED_COPY_H_
#define VQDBSYS_CHECK_PATCHED_COPY_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "check/findings.h"
#include "check/held_file.h"

namespace vqdb::check {

struct Patch {
  std::uint64_t offset;
  std::string bytes;

  std::uint64_t end() const { return offset + bytes.size(); }
};

// Patches in the order of their offsets.
void sort_patches(std::vector<Patch>& patches);

// Writes the first `size` bytes with the patches, which lie apart and in order. The host can cancel
// by its progress function. Detail 6611: not written.
Result write_patched(HeldFile& from, std::uint64_t size, std::span<const Patch> patches,
                     platform::File& to);
// Writes those patches that reach behind the first `size` bytes.
Result write_patches_behind(HeldFile& from, std::uint64_t size, std::span<const Patch> patches,
                            platform::File& to);
// A stretch once more at another place of the copy.
Result write_again(HeldFile& from, std::uint64_t offset, std::uint64_t size, platform::File& to,
                   std::uint64_t target);

// A file as it is before it is mended.
class Backup {
 public:
  // Puts a copy of the file into the directory (null or empty: its own) under its name with BAK,
  // BA1, BA2, ... behind it, the first that is free. Details 6611, 6612: not made.
  Result make(HeldFile& file, const char* directory);
  // Tells the host where it is, if one was made.
  void report(FileFindings& findings) const;
  // For a file that stays as it is after all.
  void discard();

 private:
  // The first name that is free.
  Result give_name(VqBlock& block, const std::string& growing, const std::string& path);

  std::string path_;
  bool is_made_ = false;
};

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_PATCHED_COPY_H_
