// The redo log of an index file: the writes of one flush that only together leave a tree whole -
// the halves of a split and the page above them, a separator and the last key below it, the links
// of pages that become free. They stand behind the file's last page before the first of them is
// made; then the header says so by its mark, and whoever finds the mark makes them (again). When
// all are made the mark goes; the next log takes this one's place, or it is cut off.
//
//   pages of the file | pages that are new | head | record | record | ... | head
//                     ^ old_end            ^ where the header says that the file ends
//
// A record is a page number, a count of bytes, and the bytes that belong at the front of that page.
// The log fills whole units, with the head at their end as well: a file that ends in one holds
// nothing else behind old_end, when its header counts no page there.
#ifndef VQDBSYS_INDEX_TREE_REDO_LOG_H_
#define VQDBSYS_INDEX_TREE_REDO_LOG_H_

#include <cstdint>
#include <cstring>
#include <span>

#include "index/tree/page.h"
#include "platform/file.h"
#include "platform/memory.h"

namespace vqdb::index {

// The mark in a header. Any other value is not ours, and stays.
inline constexpr Byte kUnfinishedMark = 0xA5;
inline void set_unfinished(Byte& mark, bool unfinished) {
  if (unfinished) mark = kUnfinishedMark;
  if (!unfinished && mark == kUnfinishedMark) mark = 0;
}

class RedoLog {
 public:
  explicit RedoLog(std::uint32_t unit_bytes) : unit_bytes_(unit_bytes) {}

  // Empties the log. Pages from this one on were not in the file before.
  void start(PageNumber old_end);
  // False without memory. REQUIRES a multiple of 8 bytes.
  bool add(PageNumber page, std::span<const Byte> bytes);
  std::uint32_t records() const { return records_; }

  // Writes the log from this page on, its last bytes first.
  platform::Outcome write(platform::File& file, PageNumber end);
  // Makes the writes; those that follow one another with as few calls as the system allows.
  platform::Outcome apply(platform::File& file) const;

  enum class Found : std::uint8_t { log, none, unreadable, no_memory };
  // Reads the log that begins at this page.
  Found read(platform::File& file, PageNumber end);
  // Lays what the log holds over bytes that were read from the file.
  void patch(std::uint64_t offset, std::span<Byte> bytes) const;

  // The size in bytes and the end in pages of a file whose header counts pages up to `counted` and
  // has no mark: what a log and its new pages take up behind them does not count. Others may work
  // on the file meanwhile. False when it cannot be read.
  static bool find_end(platform::File& file, std::uint32_t unit_bytes, PageNumber counted,
                       std::uint64_t& size, std::uint64_t& end);

 private:
  struct Head;

  template <typename Visit>
  void each(Visit visit) const;
  bool is_sound(PageNumber end) const;
  bool reserve(std::size_t bytes);
  std::uint64_t checksum() const;
  std::uint64_t offset_of(PageNumber page) const { return std::uint64_t{page} * unit_bytes_; }

  // What the log takes up in the file: whole units, and room for the head at the end.
  std::size_t padded() const;

  const std::uint32_t unit_bytes_;
  platform::Bytes bytes_;  // the log as it stands in the file, heads included
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;  // without padding and the head at the end
  std::uint32_t records_ = 0;
  PageNumber old_end_ = 0;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_REDO_LOG_H_
