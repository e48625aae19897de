// The block buffers of an open table. The buffer used longest ago goes first; one that was read
// ahead and never used goes before any that was. A use leaves no more than its time with the
// buffer: the order is worked out from these when a block has to make room. Blocks are found by
// hash, read ahead while a table is read in order, and written together with their changed
// neighbours, so that a sequence of blocks takes one transfer of the system. A failed transfer
// loses nothing: a changed block stays changed until it has been written whole.
#ifndef VQDBSYS_TABLE_BLOCK_CACHE_H_
#define VQDBSYS_TABLE_BLOCK_CACHE_H_

#include <array>
#include <cstdint>
#include <cstring>
#include <span>

#include "frame/bytes.h"
#include "frame/result.h"
#include "frame/system_file.h"
#include "platform/memory.h"
#include "table/block_transfer.h"
#include "table/record_file.h"

namespace vqdb::table {

class BlockCache {
 public:
  enum class Load : std::uint8_t {
    cached,  // from the cache, else from the file
    reload,  // from the file
  };

  // The file and the block for detail codes stay with the table.
  BlockCache(VqBlock& block, RecordFile& file) : block_(block), file_(file) {}
  BlockCache(const BlockCache&) = delete;
  BlockCache& operator=(const BlockCache&) = delete;

  // Takes memory for this many buffers, all empty. False when there is none. Blocks are read ahead
  // only where nobody else changes them.
  bool allocate(std::uint32_t buffers, bool reads_ahead);
  bool has_buffers() const { return buffer_count_ != 0; }

  // The bytes of a record, valid until the next call. Details 10061 (a changed block that had to
  // make room could not be written), 10062 (nor one that had to be reloaded), 10063 (read failed),
  // 10064 (the file ends before the record). REQUIRES buffers and 1 <= recno <= count.
  Result find(std::uint32_t recno, Load load, Byte*& record) {
    const std::uint32_t position = recno - current_first_;
    if (load == Load::cached && position < buffers_[current_].held) {
      record = data_of(current_) + std::size_t{position} * file_.record_length;
      return Result::ok;
    }
    return find_block(recno, load, record);
  }

  // Copies the bytes of a record from `skip` on, for somebody who only reads it: where records are
  // read here and there, and hardly any block twice, no more than the record comes from the file.
  // Details as for find.
  Result read(std::uint32_t recno, std::uint32_t skip, void* out) {
    const std::uint32_t position = recno - current_first_;
    if (position < buffers_[current_].held) {
      misses_ = 0;
      copy_from(current_, position, skip, out);
      return Result::ok;
    }
    return read_away(recno, skip, out);
  }

  // The records behind this one in its block, as far as the block is at hand and holds them.
  std::span<const Byte> behind(std::uint32_t recno) const {
    const std::uint32_t position = recno + 1 - current_first_;
    if (position >= buffers_[current_].held) return {};
    return {data_of(current_) + std::size_t{position} * file_.record_length,
            std::size_t{buffers_[current_].held - position} * file_.record_length};
  }

  // Room for the record behind the last. It counts once append_done() is called. Details as for
  // find, and 341 for a changed block that had to make room.
  Result find_append(Byte*& record) {
    const std::uint32_t position = file_.count + 1 - current_first_;
    if (position < file_.records_per_block && position == buffers_[current_].held) {
      record = data_of(current_) + std::size_t{position} * file_.record_length;
      return Result::ok;
    }
    return find_append_block(record);
  }
  // Takes the record put in the room that find_append gave.
  void append_done() {
    ++buffers_[current_].held;
    mark_changed();
  }

  // The bytes of a record if its block is cached and holds it, else null.
  Byte* peek(std::uint32_t recno);
  // Has the processor fetch a record's bytes if they are cached.
  void prefetch(std::uint32_t recno) const;
  // Marks the block that find gave last as changed.
  void mark_changed();

  // After a record was appended to the file itself: where to put it in its cached block, else null.
  // A block that lacks records before it is dropped.
  Byte* note_append(std::uint32_t recno);
  // Drops the block of a record. REQUIRES that it is not changed.
  void drop(std::uint32_t recno);

  // Forgets records of the last block that no longer count, after the count has fallen by one.
  void shrink();

  // How many records from the first on are whole in the file, in one state or another.
  std::uint32_t whole_records() const;
  // Whether the file holds, in some state, any of the records behind number `whole_records()`.
  bool has_stored_behind(std::uint32_t last) const;
  // Writes the end mark behind record `last`, whatever the buffers hold of the records behind it.
  void end_file_behind(std::uint32_t last);

  // Whether anything was changed, and perhaps written, since settle().
  bool was_changed() const { return was_changed_; }
  void settle() { was_changed_ = false; }

  // Writes every changed block; details of a failure under `detail`.
  Result write_changed(std::int32_t detail);
  // Empties every buffer. REQUIRES that none is changed.
  void clear();

 private:
  // Buffers are named by index; the index behind the last buffer stands for "none". As that one
  // holds no record, it also serves as the current buffer when there is none.
  struct Buffer {
    std::uint32_t block;    // 0 when empty
    std::uint32_t chained;  // next buffer of the same hash, or next empty one
    std::uint32_t used;     // when last; 0 since it was read ahead, kNotUsed while empty
    std::uint16_t held;     // records
    std::uint16_t stored;   // records at the front that the file holds, in some state
    bool changed;
  };

  // Uses are counted from here, so that the clock comes round soon once, and then hardly ever.
  static constexpr std::uint32_t kClockStart = UINT32_MAX - 5000;
  static constexpr std::uint32_t kNotUsed = UINT32_MAX;
  // The queue has so many places in front for buffers that are read ahead.
  static constexpr std::uint32_t kQueueRoom = BlockTransfer::kMaxBlocks;

  // A buffer in the order of use: the time of its use, and below it the buffer.
  using Place = std::uint64_t;
  static std::uint32_t buffer_at(Place place) { return static_cast<std::uint32_t>(place); }
  static std::uint32_t used_at(Place place) { return static_cast<std::uint32_t>(place >> 32); }
  Place place_of(std::uint32_t buffer) const { return Place{buffers_[buffer].used} << 32 | buffer; }

  std::uint32_t none() const { return buffer_count_; }
  Byte* data_of(std::uint32_t buffer) const {
    return data_ + std::size_t{buffer} * file_.block_size;
  }
  std::uint32_t lookup(std::uint32_t block) const;
  std::uint32_t expected_records(std::uint32_t block) const;

  void make_current(std::uint32_t buffer);
  void leave_current();
  void start_clock();
  std::span<Place> list_used_until(std::uint32_t time);
  std::uint32_t early_time() const;
  void make_queue();
  std::uint32_t oldest();
  void queue_unused(std::uint32_t buffer);
  std::uint32_t take_empty();
  void give_back(std::uint32_t buffer);
  void install(std::uint32_t buffer, std::uint32_t block, std::uint32_t held);
  void remove_block(std::uint32_t buffer);
  void forget(std::uint32_t buffer);

  void copy_from(std::uint32_t buffer, std::uint32_t position, std::uint32_t skip,
                 void* out) const {
    std::memcpy(out, data_of(buffer) + std::size_t{position} * file_.record_length + skip,
                file_.record_length - skip);
  }
  bool is_worth_keeping(std::uint32_t block);
  bool read_past(std::uint32_t recno, std::uint32_t skip, void* out);
  Result read_away(std::uint32_t recno, std::uint32_t skip, void* out);
  Result find_block(std::uint32_t recno, Load load, Byte*& record);
  Result find_append_block(Byte*& record);
  Result make_room(std::int32_t detail, std::uint32_t& buffer);
  Result read_in(std::uint32_t block, std::uint32_t& buffer);
  std::size_t take_run(std::uint32_t block, std::span<std::uint32_t> run);
  Result read_block(std::uint32_t block, std::uint32_t& buffer);
  Result reread_block(std::uint32_t block, std::uint32_t& buffer);
  Result read_run(std::uint32_t block, std::span<const std::uint32_t> run, std::uint32_t& first);
  std::uint32_t keep(std::uint32_t buffer, std::uint32_t block, std::uint32_t held);
  std::uint32_t records_in(std::uint32_t block, std::size_t bytes) const;
  std::uint32_t start_of_run(std::uint32_t buffer) const;
  // Writes a block if it is changed, and neighbours with it.
  Result write_out(std::uint32_t buffer, std::int32_t detail);
  Result write_run(std::uint32_t buffer, std::int32_t detail);
  std::uint32_t written_ahead(std::uint32_t buffer) const;
  void note_written(std::span<const std::uint32_t> run, std::uint32_t skip, std::size_t bytes);
  bool needs_end_mark(std::uint32_t buffer) const;

  VqBlock& block_;
  RecordFile& file_;
  platform::Bytes memory_;
  Buffer* buffers_ = nullptr;         // one more than buffer_count_
  std::uint32_t* buckets_ = nullptr;  // hash_mask_ + 1
  Place* queue_ = nullptr;            // kQueueRoom + buffer_count_
  Byte* data_ = nullptr;
  std::uint32_t buffer_count_ = 0;
  std::uint32_t hash_mask_ = 0;
  bool reads_ahead_ = false;
  std::uint32_t empty_ = 0;       // the first empty buffer
  std::uint32_t clock_ = 0;       // of uses
  std::uint32_t queue_next_ = 0;  // the oldest buffers lie in the queue from here ...
  std::uint32_t queue_end_ = 0;   // ... to here
  std::uint32_t current_ = 0;
  std::uint32_t current_first_ = 0;  // first record of the current block
  std::uint32_t next_block_ = 1;     // the block that continues what was read last
  std::uint32_t misses_ = 0;         // reads in a row whose block no buffer had
  std::uint32_t passed_block_ = 0;   // of the record that was read past the buffers last
  std::uint32_t ahead_block_ = 0;    // a changed block of which ...
  std::uint32_t ahead_bytes_ = 0;    // ... so many bytes have been written since; 0 when none
  std::uint32_t changed_count_ = 0;
  bool was_changed_ = false;
  std::uint32_t changed_low_ = 0;  // changed blocks lie between these two
  std::uint32_t changed_high_ = 0;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_BLOCK_CACHE_H_
