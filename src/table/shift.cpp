// Inserting and removing records in the middle of an exclusive table: the records behind move by
// one number, in the file itself, and in an order in which every stop, between two writes or within
// one, leaves each of them in the file, one of them perhaps twice. When a move fails half way, what
// has moved moves back, as far as the system lets it.
#include <algorithm>
#include <cstring>

#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kFlush{24};
constexpr Operation kInsrec{27};
constexpr Operation kRmrec{40};
constexpr Operation kCache{1006};

// Keeps the detail code of a failure from what is tried after it.
class KeptDetail {
 public:
  explicit KeptDetail(const Table& table) : block_(*table.block), detail_(block_.detail) {}
  ~KeptDetail() { block_.detail = detail_; }
  KeptDetail(const KeptDetail&) = delete;
  KeptDetail& operator=(const KeptDetail&) = delete;

 private:
  VqBlock& block_;
  const std::int32_t detail_;
};

// Moves records past the cache. REQUIRES that all records are in the file, and none in the cache.
class RecordMover {
 public:
  explicit RecordMover(Table& table) : table_(table), length_(table.records.record_length) {}

  // Takes the work area; false without memory.
  bool prepare() {
    most_ = std::max<std::uint32_t>(platform::kChunkBytes / length_, 1);
    work_ = platform::allocate_bytes(std::size_t{most_} * length_);
    return work_ != nullptr;
  }

  Result read(std::uint32_t recno, Byte* records, std::uint32_t count) {
    const std::size_t wanted = std::size_t{count} * length_;
    std::size_t bytes = 0;
    RecordFile& file = table_.records;
    const platform::Outcome outcome =
        file.file.read_at(file.offset_of(recno), records, wanted, bytes);
    if (outcome.ok() && bytes == wanted) return Result::ok;
    return fail(table_.block, Result::io, outcome.ok() ? kShortFile : kCache.detail(3));
  }
  Result write(std::uint32_t recno, const Byte* records, std::uint32_t count) {
    RecordFile& file = table_.records;
    const std::size_t bytes = std::size_t{count} * length_;
    return file.file.write_at(file.offset_of(recno), records, bytes).ok()
               ? Result::ok
               : fail(table_.block, Result::io, kCache.detail(1));
  }

  // Writes one record; while it has not succeeded, that one is the hole.
  Result put(std::uint32_t recno, const Byte* record) {
    hole_ = recno;
    return write(recno, record, 1);
  }
  std::uint32_t hole() const { return hole_; }

  // Copies records last, ..., first to the numbers one above, where the record that stood there has
  // its copy one above already: one at a time, since a write that stops half way must not reach
  // into the next. The record at the hole may be in pieces then, and has its copy one above, too.
  Result move_up(std::uint32_t first, std::uint32_t last) {
    hole_ = last + 1;
    while (last >= first) {
      const std::uint32_t count = std::min(last - first + 1, most_);
      const std::uint32_t start = last - count + 1;
      Result result = read(start, work_.get(), count);
      if (ok(result)) result = write_back(start + 1, count);
      if (!ok(result)) return result;
      last = start - 1;
    }
    return Result::ok;
  }

  // Copies records first, ..., last to the numbers one below, where the record that stood there has
  // its copy one below already. Writes go upwards, so that one that stops half way leaves the
  // records that it has not reached.
  Result move_down(std::uint32_t first, std::uint32_t last) {
    held_first_ = first;
    while (held_first_ <= last) {
      const std::uint32_t count = std::min(last - held_first_ + 1, most_);
      Result result = read(held_first_, work_.get(), count);
      if (!ok(result)) return result;
      held_ = count;
      result = write(held_first_ - 1, work_.get(), count);
      if (!ok(result)) return result;
      held_ = 0;
      held_first_ += count;
    }
    return Result::ok;
  }
  // After a move_down, complete or not, whose first record went to number `to`.
  Result undo_move_down(std::uint32_t to) {
    const std::uint32_t first = held_first_;
    const Result result = write_back(first, held_);
    return ok(result) ? move_up(to, first - 2) : result;
  }

 private:
  // The records of the work area, to this number and those behind it, the last one first.
  Result write_back(std::uint32_t recno, std::uint32_t count) {
    while (count-- > 0) {
      const Result result = put(recno + count, &work_[std::size_t{count} * length_]);
      if (!ok(result)) return result;
    }
    return Result::ok;
  }

  Table& table_;
  const std::uint32_t length_;
  platform::Bytes work_;
  std::uint32_t most_ = 1;  // records in it
  std::uint32_t hole_ = 0;
  std::uint32_t held_first_ = 0;  // what move_down has not moved whole begins here, ...
  std::uint32_t held_ = 0;        // ... and so many of it are in the work area
};

// The last record no longer counts. The header says so before anything else takes its place.
Result drop_last(Table& table) {
  const std::uint32_t count = table.records.count - 1;
  table.header_dirty = true;
  if (count < table.stored_count) {
    const Result result = write_count(table, count, kFlush.detail(3));
    if (!ok(result)) return result;
    table.header_dirty = false;
  }
  table.records.count = count;
  table.cache.shrink();
  table.end_mark_stale = true;
  return Result::ok;
}

Result check_mode(Table& table, const Operation& operation) {
  if (table.is_shared()) return fail(table.block, Result::not_allowed, operation.detail(2));
  if (table.is_read_only()) return fail(table.block, Result::read_only, operation.detail(3));
  return Result::ok;
}

// The last record once more behind itself, in the file and counted.
Result double_last(Table& table, RecordMover& mover, Byte* record) {
  Result result = clear_buffers(table);
  if (ok(result)) result = mover.read(table.records.count, record, 1);
  if (ok(result)) result = append_copy(table, record);
  if (!ok(result)) return result;
  result = clear_buffers(table);
  if (ok(result)) return result;
  const KeptDetail detail(table);
  (void)drop_last(table);
  return result;
}

// Makes room at the number of a record, and puts a new one there that lacks its first `skip` bytes,
// the flag or none.
Result insert_before(Table& table, RecordMover& mover, std::uint32_t recno, const void* record,
                     std::uint32_t skip, Byte* area) {
  const std::uint32_t count = table.records.count;
  Result result = double_last(table, mover, area);
  if (!ok(result)) return result;
  result = mover.move_up(recno, count - 1);
  if (ok(result)) {
    area[0] = kLive;
    std::memcpy(area + skip, record, table.records.record_length - skip);
    result = mover.put(recno, area);
  }
  if (ok(result)) return result;
  const KeptDetail detail(table);
  if (ok(mover.move_down(mover.hole() + 1, count + 1))) (void)drop_last(table);
  return result;
}

Result remove_before_last(Table& table, RecordMover& mover, std::uint32_t recno, Byte* removed) {
  Result result = clear_buffers(table);
  if (ok(result)) result = mover.read(recno, removed, 1);
  if (!ok(result)) return result;
  result = mover.move_down(recno + 1, table.records.count);
  if (ok(result)) result = drop_last(table);
  if (ok(result)) return result;
  const KeptDetail detail(table);
  if (ok(mover.undo_move_down(recno))) (void)mover.put(recno, removed);
  return result;
}

}  // namespace

Result insert_record(Table& table, std::uint32_t recno, const void* record) {
  if (const Result result = check_mode(table, kInsrec); !ok(result)) return result;
  const std::uint32_t count = table.records.count;
  if (recno < 1 || recno - 1 > count) {
    return fail(table.block, Result::out_of_range, kInsrec.detail(4));
  }
  RecordMover mover(table);
  const platform::Bytes area = platform::allocate_bytes(table.records.record_length);
  if (area == nullptr || !mover.prepare()) {
    return fail(table.block, Result::no_memory, kInsrec.detail(5));
  }
  const std::uint32_t current = table.current;
  const Result result =
      recno > count ? append_record(table, record)
                    : insert_before(table, mover, recno, record, table.caller_offset(), area.get());
  table.current = ok(result) ? recno : current;
  if (!ok(result)) table.block->record_number = -1;
  return result;
}

Result remove_record(Table& table, std::uint32_t recno) {
  if (const Result result = check_mode(table, kRmrec); !ok(result)) return result;
  const std::uint32_t count = table.records.count;
  if (recno < 1 || recno > count) {
    return fail(table.block, Result::out_of_range, kRmrec.detail(4));
  }
  RecordMover mover(table);
  const platform::Bytes removed = platform::allocate_bytes(table.records.record_length);
  if (removed == nullptr || !mover.prepare()) {
    return fail(table.block, Result::no_memory, kRmrec.detail(5));
  }
  if (table.short_file) return fail(table.block, Result::io, kShortFile);
  const Result result =
      recno == count ? drop_last(table) : remove_before_last(table, mover, recno, removed.get());
  if (ok(result)) table.current = std::min(recno, table.records.count);
  return result;
}

}  // namespace vqdb::table
