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

// Writes this changed block and its changed neighbours in one transfer.
Result BlockCache::write_run(std::uint32_t buffer, std::int32_t detail) {
  const std::size_t most = BlockTransfer::blocks_of(file_.block_size);
  std::array<std::uint32_t, BlockTransfer::kMaxBlocks> run;
  std::size_t length = 0;
  BlockTransfer transfer;
  buffer = start_of_run(buffer);
  const std::uint64_t offset = file_.offset_of(file_.first_of(buffers_[buffer].block));
  while (length < most && buffers_[buffer].changed) {
    const Buffer& block = buffers_[buffer];
    run[length++] = buffer;
    transfer.add(data_of(buffer), std::size_t{block.held} * file_.record_length);
    if (needs_end_mark(buffer)) transfer.add(&kEndMarkByte, 1);
    if (block.held != file_.records_per_block) break;
    buffer = lookup(block.block + 1);
  }
  const platform::Outcome outcome = transfer.write(file_.file, offset);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), detail);
  for (std::size_t i = 0; i < length; ++i) {
    buffers_[run[i]].changed = false;
    --changed_count_;
  }
  return Result::ok;
}

Result BlockCache::write_changed(std::int32_t detail) {
  if (changed_count_ == 0) return Result::ok;
  const auto write_if_changed = [&](std::uint32_t buffer) {
    return buffers_[buffer].changed ? write_run(buffer, detail) : Result::ok;
  };
  if (changed_high_ - changed_low_ < buffer_count_) {
    for (std::uint32_t block = changed_low_; block <= changed_high_; ++block) {
      if (const Result result = write_if_changed(lookup(block)); !ok(result)) return result;
    }
    return Result::ok;
  }
  for (std::uint32_t buffer = 0; buffer < buffer_count_; ++buffer) {
    if (const Result result = write_if_changed(buffer); !ok(result)) return result;
  }
  return Result::ok;
}

}  // namespace vqdb::table
