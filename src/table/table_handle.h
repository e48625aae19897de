// What an open table consists of, for the files of this folder; table.h is what others see.
#ifndef VQDBSYS_TABLE_TABLE_HANDLE_H_
#define VQDBSYS_TABLE_TABLE_HANDLE_H_

#include <cstdint>
#include <string>

#include "frame/handle_pool.h"
#include "table/block_cache.h"
#include "table/field_names.h"
#include "table/header.h"
#include "table/lock_state.h"
#include "table/record_file.h"
#include "table/table.h"

namespace vqdb::table {

// When a change reaches the file, and where reads come from.
enum class BufferPolicy : std::uint8_t {
  write_back = 1,    // changes wait in the cache
  direct_reads = 2,  // changes are written at once; reads go to the file unless the block's
                     // run-time flag 2 sends them to the cache
  cached_reads = 4,  // changes are written at once; reads come from the cache
};

class Table : public HandleHead {
 public:
  explicit Table(VqBlock* owner) : cache(*owner, records) {}

  std::uint32_t mode = 0;
  BufferPolicy policy = BufferPolicy::write_back;
  std::uint32_t scheme = 0;        // of locks, 0 to 6
  std::uint32_t current = 0;       // record last read or written
  bool header_dirty = false;       // the count changed and is not in the file yet
  bool end_mark_stale = false;     // records were removed from the end
  std::uint32_t stored_count = 0;  // in the header, as this handle read or wrote it last
  bool production = false;
  std::string path;
  bool is_of_this_machine = false;  // the file, so that its size is known at once
  bool short_file = false;          // at open, the file lacked records that its header counts
  convert::Date updated;
  platform::Bytes field_memory;
  std::uint32_t field_count = 0;
  FieldNames field_names;
  std::uint32_t field_room = 0;  // descriptors that the header has room for
  RecordFile records;
  BlockCache cache;
  LockState locks;

  bool is_read_only() const { return (mode & open_mode::kReadOnly) != 0; }
  bool is_shared() const { return (mode & open_mode::kShared) != 0; }
  // Callers' records start here in the whole record.
  std::uint32_t caller_offset() const {
    return (block->runtime_flags & runtime_flag::kFieldsOnly) != 0 ? 1 : 0;
  }
  bool reads_from_file() const {
    return !cache.has_buffers() || (policy == BufferPolicy::direct_reads &&
                                    (block->runtime_flags & runtime_flag::kCachedReads) == 0);
  }
};

constexpr bool is_number(std::uint32_t recno) { return recno >= 1 && recno <= INT32_MAX; }

// A record that the header counts and the file lacks.
inline constexpr std::int32_t kShortFile = 10064;

// Refuses a record that the file does not hold whole: writing there would make records of the gap.
// Details 10064 and, with the size unknown, 424.
Result check_stored(Table& table, std::uint32_t recno);

// Takes the count from the file: from the header or, for a shared table under the dialect bit for
// that, from the file's size. Details 423 and 424.
Result refresh_count(Table& table);
// Where the file's size tells the count, ends the file with the end mark behind record `last`.
platform::Outcome cut_behind(Table& table, std::uint32_t last);
// Writes today's date and this count into the header.
Result write_count(Table& table, std::uint32_t count, std::int32_t detail);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_TABLE_HANDLE_H_
