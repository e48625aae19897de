// A file while it is checked: open for reading, and locked against everyone who would change it.
#ifndef VQDBSYS_CHECK_HELD_FILE_H_
#define VQDBSYS_CHECK_HELD_FILE_H_

#include <array>
#include <cstdint>
#include <string>

#include "frame/bytes.h"
#include "frame/result.h"
#include "index/tree/redo_log.h"
#include "platform/file.h"

namespace vqdb::check {

enum class Hold : std::uint8_t {
  none,
  table,  // against record locks and appends as well
  file,   // a memo or index file
};

class HeldFile {
 public:
  explicit HeldFile(VqBlock& block) : block_(block) {}

  // Opens the file and waits for its lock. Details 10421 and 10422 (not opened), 10431 and 10432
  // (locked by somebody else, or by the system), 6601 (not read).
  Result open(const std::string& path, Hold hold);
  // Fails when its first bytes, its size or the time of its last change are other than at opening,
  // with detail 6602.
  Result confirm_unchanged();

  // From now on an index file reads as the redo log at this page of 512 bytes says that it is to
  // be; found is false when there is none. Details 6601, 6603 (no memory).
  Result take_up_log(std::uint32_t page, bool& found);

  // Reads exactly so many bytes. Detail 6601.
  Result read(std::uint64_t offset, void* data, std::size_t size);

  VqBlock& block() { return block_; }
  platform::File& file() { return file_; }
  const std::string& path() const { return path_; }
  std::uint64_t size() const { return opened_.change.size; }
  bool is_open() const { return file_.is_open(); }
  void close() { (void)file_.close(); }

 private:
  Result take_lock(Hold hold);
  struct State {
    platform::LastChange change;
    std::array<Byte, 32> head = {};

    bool operator==(const State&) const = default;
  };
  Result look(State& state);

  VqBlock& block_;
  platform::File file_;
  std::string path_;
  State opened_;
  index::RedoLog log_{512};
};

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_HELD_FILE_H_
