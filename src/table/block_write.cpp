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
  std::uint32_t skip = written_ahead(buffer);
  const std::uint64_t offset = file_.offset_of(file_.first_of(buffers_[buffer].block)) + skip;
  std::size_t room = platform::kChunkBytes - offset % platform::kChunkBytes;
  std::uint32_t cut_block = 0;
  std::uint32_t cut_bytes = 0;
  while (length + 1 < run.size() && buffers_[buffer].changed) {
    const Buffer& block = buffers_[buffer];
    const std::size_t bytes = std::size_t{block.held} * file_.record_length - skip;
    const std::uint32_t next = lookup(block.block + 1);
    if (bytes > room && block.held == file_.records_per_block && buffers_[next].changed) {
      cut_block = block.block;
      cut_bytes = static_cast<std::uint32_t>(room) + skip;
      transfer.add(data_of(buffer) + skip, room);
      break;
    }
    if (bytes > room && length > 0) break;
    run[length++] = buffer;
    transfer.add(data_of(buffer) + skip, bytes);
    if (needs_end_mark(buffer)) transfer.add(&kEndMarkByte, 1);
    if (bytes >= room || block.held != file_.records_per_block) break;
    room -= bytes;
    skip = 0;
    buffer = next;
  }
  const platform::Outcome outcome = transfer.write(file_.file, offset);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), detail);
  for (std::size_t i = 0; i < length; ++i) {
    buffers_[run[i]].changed = false;
    --changed_count_;
  }
  ahead_block_ = cut_block;
  ahead_bytes_ = cut_bytes;
  return Result::ok;
}

Result BlockCache::write_changed(std::int32_t detail) {
  if (changed_count_ == 0) return Result::ok;
  if (changed_high_ - changed_low_ < buffer_count_) {
    for (std::uint32_t block = changed_low_; block <= changed_high_; ++block) {
      if (const Result result = write_out(lookup(block), detail); !ok(result)) return result;
    }
    return Result::ok;
  }
  for (std::uint32_t buffer = 0; buffer < buffer_count_; ++buffer) {
    if (const Result result = write_out(buffer, detail); !ok(result)) return result;
  }
  return Result::ok;
}

}  // namespace vqdb::table
