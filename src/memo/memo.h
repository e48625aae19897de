// An open memo file of either layout.
#ifndef VQDBSYS_MEMO_MEMO_H_
#define VQDBSYS_MEMO_MEMO_H_

#include <algorithm>
#include <cstdint>

#include "frame/change_watch.h"
#include "frame/handle_pool.h"
#include "frame/result.h"
#include "memo/dbase4_free_chain.h"
#include "memo/driver_table.h"
#include "platform/file.h"
#include "platform/memory.h"

namespace vqdb::memo {

enum class Layout : std::uint8_t { none = 0, dbase3 = 3, dbase4 = 4 };

// How far behind the end of the file new memos may begin; the gap is filled with zeros.
inline constexpr std::uint64_t kMaxFilledGap = std::uint64_t{64} << 20;

// A stretch of a dBASE IV file as it was read last, and where reading seems to go on.
struct Window {
  platform::Bytes bytes;
  std::uint32_t capacity = 0;
  std::uint32_t size = 0;  // 0: nothing is known
  std::uint64_t offset = 0;
  std::uint64_t last_start = 0;  // of the memo located last
  std::uint64_t last_end = 0;
  std::uint32_t steps = 0;  // how often the next memo was asked for, one after the other

  bool covers(std::uint64_t start, std::uint64_t length) const {
    return start >= offset && start + length <= offset + size;
  }
  // REQUIRES covers(position, 1).
  const std::uint8_t* at(std::uint64_t position) const {
    return bytes.get() + static_cast<std::size_t>(position - offset);
  }
};

struct Memo : HandleHead {
  platform::File file;
  std::uint32_t mode = 0;
  std::uint32_t lock_scheme = 0;
  Layout layout = Layout::none;  // none once closed
  bool stale = false;            // what is known of the file has to be read again
  bool is_carried = false;       // what is known was read by an earlier operation
  bool has_read = false;         // the operation has read what was not known
  std::uint32_t block_size = 0;
  std::uint64_t file_size = 0;

  // dBASE IV.
  ChangeWatch watch{file};  // for the shared modes
  FreeChain free_chain;
  Window window;

  // dBASE III: the next free block, as the file header has it and as it is.
  std::uint32_t stored_next_free = 0;
  std::uint32_t next_free = 0;

  bool shared() const { return (mode & open_mode::kShared) != 0; }
  bool read_only() const { return (mode & open_mode::kReadOnly) != 0; }
  std::uint64_t offset_of(std::uint64_t block_number) const { return block_number * block_size; }
  // Reads the file, as File::read_at().
  platform::Outcome read_at(std::uint64_t offset, void* data, std::size_t size,
                            std::size_t& transferred) {
    has_read = true;
    return file.read_at(offset, data, size, transferred);
  }
  // REQUIRES that the file has been written up to there.
  void grow_to(std::uint64_t end) { file_size = std::max(file_size, end); }
  // How many blocks the file reaches into.
  std::uint64_t blocks_in_file() const { return (file_size + block_size - 1) / block_size; }
};

// A handle on an opened file, not yet live; null without memory for it and for its block buffer.
Memo* make_handle(VqBlock& block, std::uint32_t mode, platform::File&& file,
                  std::uint32_t block_size);
void set_live(Memo& memo, Layout layout);
// Closes the file and releases the handle; false when the system reports a failure.
bool release_handle(Memo& memo);

// dBASE III: stores the next free block where the file header has another; false when it cannot.
bool store_next_free(Memo& memo);

// Under run-time flag 4, waits until the device has the file; else there is nothing to do, since
// every change is written at once. -17, details 2153 and 2273.
Result flush(Memo& memo);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_MEMO_H_
