// The writing side of the block cache: changed blocks go to the file together with the changed
// blocks beside them.
#include "table/block_cache.h"
#include "table/block_transfer.h"

namespace vqdb::table {
namespace {

constexpr Byte kEndMarkByte = kEndMark;

}  // namespace

// Behind the last record, but only where every record before it is at hand.
bool BlockCache::needs_end_mark(std::uint32_t buffer) const {
  const Buffer& last = buffers_[buffer];
  return last.block == file_.last_block() && last.held == expected_records(last.block);
}

// The first buffer of the changed blocks that lie without a gap before this one, as far back as
// one transfer reaches.
std::uint32_t BlockCache::start_of_run(std::uint32_t buffer) const {
  std::size_t room = BlockTransfer::blocks_of(file_.block_size) - 1;
  while (room-- > 0) {
    const std::uint32_t before = lookup(buffers_[buffer].block - 1);
    if (!buffers_[before].changed || buffers_[before].held != file_.records_per_block) break;
    buffer = before;
  }
  return buffer;
}

Result BlockCache::write_out(std::uint32_t buffer, std::int32_t detail) {
  while (buffers_[buffer].changed) {
    if (const Result result = write_run(start_of_run(buffer), detail); !ok(result)) return result;
  }
  return Result::ok;
}

// The bytes at the front of a changed block that are in the file as they are.
std::uint32_t BlockCache::written_ahead(std::uint32_t buffer) const {
  return buffers_[buffer].block == ahead_block_ ? ahead_bytes_ : 0;
}

// Writes this changed block and those behind it in one transfer. While the sequence goes on behind
// the transfer, it ends where the file's next chunk begins, within a block if need be: systems take
// whole chunks in place much faster than pieces of two.
Result BlockCache::write_run(std::uint32_t buffer, std::int32_t detail) {
  std::array<std::uint32_t, BlockTransfer::kMaxBlocks> run;
  std::size_t length = 0;
  BlockTransfer transfer;
  const std::uint32_t front = written_ahead(buffer);
  std::uint32_t skip = front;
  const std::uint64_t offset = file_.offset_of(file_.first_of(buffers_[buffer].block)) + skip;
  std::size_t room = platform::kChunkBytes - offset % platform::kChunkBytes;
  while (length + 1 < run.size() && buffers_[buffer].changed) {
    const Buffer& block = buffers_[buffer];
    const std::size_t bytes = std::size_t{block.held} * file_.record_length - skip;
    const std::uint32_t next = lookup(block.block + 1);
    if (bytes > room && block.held == file_.records_per_block && buffers_[next].changed) {
      run[length++] = buffer;
      transfer.add(data_of(buffer) + skip, room);
      break;
    }
    if (bytes > room && length > 0) break;
    run[length++] = buffer;
    if (bytes != 0) transfer.add(data_of(buffer) + skip, bytes);
    if (needs_end_mark(buffer)) transfer.add(&kEndMarkByte, 1);
    if (bytes >= room || block.held != file_.records_per_block) break;
    room -= bytes;
    skip = 0;
    buffer = next;
  }
  std::size_t moved = 0;
  const platform::Outcome outcome = transfer.write(file_.file, offset, moved);
  note_written({run.data(), length}, front, moved);
  return outcome.ok() ? Result::ok : fail(block_, transfer_result(outcome), detail);
}

// So many bytes of the run went into the file, from behind the first `skip` of its first block on.
void BlockCache::note_written(std::span<const std::uint32_t> run, std::uint32_t skip,
                              std::size_t bytes) {
  ahead_block_ = 0;
  for (const std::uint32_t place : run) {
    Buffer& buffer = buffers_[place];
    const std::size_t size = std::size_t{buffer.held} * file_.record_length - skip;
    if (bytes < size + (needs_end_mark(place) ? 1 : 0)) {
      const std::size_t front = skip + bytes;
      ahead_block_ = buffer.block;
      ahead_bytes_ = static_cast<std::uint32_t>(front);
      const auto records = static_cast<std::uint16_t>(front / file_.record_length);
      buffer.stored = std::max(buffer.stored, records);
      return;
    }
    buffer.stored = buffer.held;
    buffer.changed = false;
    --changed_count_;
    bytes -= size;
    skip = 0;
  }
}

std::uint32_t BlockCache::whole_records() const {
  std::uint32_t whole = file_.count;
  for (std::uint32_t i = 0; i < buffer_count_; ++i) {
    const Buffer& buffer = buffers_[i];
    if (buffer.stored < buffer.held) {
      whole = std::min(whole, file_.first_of(buffer.block) - 1 + buffer.stored);
    }
  }
  return whole;
}

// A block that is not cached is in the file.
bool BlockCache::has_stored_behind(std::uint32_t last) const {
  for (std::uint32_t block = file_.block_of(last + 1) + 1; block <= file_.last_block(); ++block) {
    const std::uint32_t buffer = lookup(block);
    if (buffer == none() || buffers_[buffer].stored > 0) return true;
  }
  return false;
}

void BlockCache::end_file_behind(std::uint32_t last) {
  if (has_buffers()) ahead_block_ = 0;  // the mark may lie in what was written of it
  static_cast<void>(file_.file.write_at(file_.offset_of(last + 1), &kEndMarkByte, 1));
}

// Goes on after a failure: a full disk still takes changes to what it holds.
Result BlockCache::write_changed(std::int32_t detail) {
  if (changed_count_ == 0) return Result::ok;
  Result failure = Result::ok;
  const auto write = [&](std::uint32_t buffer) {
    const Result result = write_out(buffer, detail);
    if (ok(failure)) failure = result;
  };
  if (changed_high_ - changed_low_ < buffer_count_) {
    for (std::uint32_t block = changed_low_; block <= changed_high_; ++block) write(lookup(block));
  } else {
    for (std::uint32_t buffer = 0; buffer < buffer_count_; ++buffer) write(buffer);
  }
  return failure;
}

}  // namespace vqdb::table
