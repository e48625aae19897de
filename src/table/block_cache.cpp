#include "table/block_cache.h"

#include <algorithm>
#include <bit>

#include "table/block_transfer.h"

namespace vqdb::table {
namespace {

constexpr Operation kCache{1006};
constexpr std::int32_t kAppendDetail = 341;

}  // namespace

bool BlockCache::allocate(std::uint32_t buffers, bool reads_ahead) {
  reads_ahead_ = reads_ahead;
  if (buffers == 0) return true;
  const std::size_t buckets = std::bit_ceil(std::size_t{buffers});
  const std::size_t buffer_bytes = (std::size_t{buffers} + 1) * sizeof(Buffer);
  const std::size_t bucket_bytes = buckets * sizeof(std::uint32_t);
  memory_ = platform::allocate_bytes(buffer_bytes + bucket_bytes +
                                     std::size_t{buffers} * file_.block_size);
  if (memory_ == nullptr) return false;
  buffers_ = reinterpret_cast<Buffer*>(memory_.get());
  buckets_ = reinterpret_cast<std::uint32_t*>(memory_.get() + buffer_bytes);
  data_ = memory_.get() + buffer_bytes + bucket_bytes;
  buffer_count_ = buffers;
  hash_mask_ = static_cast<std::uint32_t>(buckets - 1);
  clear();
  return true;
}

void BlockCache::clear() {
  if (!has_buffers()) return;
  for (std::uint32_t i = 0; i <= buffer_count_; ++i) {
    const std::uint32_t older = i == 0 ? none() : i - 1;
    const std::uint32_t newer = i == none() ? 0 : i + 1;
    buffers_[i] = {0, none(), older, newer, 0, 0, false};
  }
  std::fill_n(buckets_, std::size_t{hash_mask_} + 1, none());
  leave_current();
  next_block_ = 1;
  ahead_block_ = 0;
  changed_count_ = 0;
}

std::uint32_t BlockCache::lookup(std::uint32_t block) const {
  std::uint32_t buffer = buckets_[block & hash_mask_];
  while (buffer != none() && buffers_[buffer].block != block) buffer = buffers_[buffer].chained;
  return buffer;
}

std::uint32_t BlockCache::expected_records(std::uint32_t block) const {
  const std::uint32_t first = file_.first_of(block);
  return file_.count < first ? 0 : std::min(file_.records_per_block, file_.count - first + 1);
}

// Takes the buffer from its place in the ring and puts it behind another.
void BlockCache::move_behind(std::uint32_t buffer, std::uint32_t older) {
  const Buffer moved = buffers_[buffer];
  buffers_[moved.older].newer = moved.newer;
  buffers_[moved.newer].older = moved.older;
  put_behind(buffer, older);
}

void BlockCache::put_behind(std::uint32_t buffer, std::uint32_t older) {
  Buffer& put = buffers_[buffer];
  put.older = older;
  put.newer = buffers_[older].newer;
  buffers_[put.newer].older = buffer;
  buffers_[older].newer = buffer;
}

void BlockCache::make_current(std::uint32_t buffer) {
  current_ = buffer;
  current_first_ = file_.first_of(buffers_[buffer].block);
  if (newest() != buffer) move_behind(buffer, newest());
}

// No record is at hand: the buffer behind the last holds none, and no record has the number 0.
void BlockCache::leave_current() {
  current_ = none();
  current_first_ = 0;
}

void BlockCache::install(std::uint32_t buffer, std::uint32_t block, std::uint32_t held) {
  Buffer& installed = buffers_[buffer];
  std::uint32_t& bucket = buckets_[block & hash_mask_];
  installed.block = block;
  installed.held = static_cast<std::uint16_t>(held);
  installed.stored = installed.held;
  installed.chained = bucket;
  bucket = buffer;
}

void BlockCache::forget(std::uint32_t buffer) {
  Buffer& forgotten = buffers_[buffer];
  if (forgotten.block == 0) return;
  std::uint32_t* link = &buckets_[forgotten.block & hash_mask_];
  while (*link != buffer) link = &buffers_[*link].chained;
  *link = forgotten.chained;
  if (forgotten.changed) --changed_count_;
  if (forgotten.block == ahead_block_) ahead_block_ = 0;
  forgotten.block = 0;
  forgotten.held = 0;
  forgotten.stored = 0;
  forgotten.changed = false;
  if (current_ == buffer) leave_current();
  if (oldest() != buffer) move_behind(buffer, none());
}

void BlockCache::mark_changed() {
  Buffer& buffer = buffers_[current_];
  if (buffer.block == ahead_block_) ahead_block_ = 0;
  if (buffer.changed) return;
  buffer.changed = true;
  was_changed_ = true;
  if (changed_count_++ == 0) {
    changed_low_ = changed_high_ = buffer.block;
  } else {
    changed_low_ = std::min(changed_low_, buffer.block);
    changed_high_ = std::max(changed_high_, buffer.block);
  }
}

Result BlockCache::find_block(std::uint32_t recno, Load load, Byte*& record) {
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t position = recno - file_.first_of(block);
  std::uint32_t buffer = lookup(block);
  Result result = Result::ok;
  if (buffer == none()) {
    result = read_in(block, buffer);
  } else if (load == Load::reload || position >= buffers_[buffer].held) {
    result = write_out(buffer, kCache.detail(2));
    if (ok(result)) result = read_block(block, buffer);
  }
  if (!ok(result)) return result;
  if (position >= buffers_[buffer].held) return fail(block_, Result::io, kCache.detail(4));
  make_current(buffer);
  record = data_of(buffer) + std::size_t{position} * file_.record_length;
  return Result::ok;
}

Result BlockCache::find_append_block(Byte*& record) {
  const std::uint32_t recno = file_.count + 1;
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t position = recno - file_.first_of(block);
  std::uint32_t buffer = lookup(block);
  if (buffer == none()) {
    const std::int32_t detail = position == 0 ? kAppendDetail : kCache.detail(1);
    if (const Result result = make_room(detail, buffer); !ok(result)) return result;
    if (position == 0) {
      install(buffer, block, 0);
    } else if (const Result result = read_block(block, buffer); !ok(result)) {
      return result;
    }
  }
  if (buffers_[buffer].held < position && !buffers_[buffer].changed) {
    // An earlier read may have come up short.
    if (const Result result = read_block(block, buffer); !ok(result)) return result;
  }
  // Short of records that the header counts, the place behind them is not the record's.
  if (buffers_[buffer].held != position) return fail(block_, Result::io, kCache.detail(4));
  make_current(buffer);
  record = data_of(buffer) + std::size_t{position} * file_.record_length;
  return Result::ok;
}

// An empty buffer: the one used longest ago, its block written if changed.
Result BlockCache::make_room(std::int32_t detail, std::uint32_t& buffer) {
  buffer = oldest();
  if (const Result result = write_out(buffer, detail); !ok(result)) return result;
  forget(buffer);
  return Result::ok;
}

// Reads a block that is not cached, and when it begins the table or continues what was read last,
// those behind it too, unless others may change them before they are asked for.
Result BlockCache::read_in(std::uint32_t block, std::uint32_t& buffer) {
  if (const Result result = make_room(kCache.detail(1), buffer); !ok(result)) return result;
  const bool in_order = reads_ahead_ && (block == 1 || block == next_block_);
  const std::size_t length = in_order ? read_ahead_length(block) : 1;
  return length == 1 ? read_block(block, buffer) : read_run(block, buffer, length);
}

// How many blocks from this one on are read into the oldest buffers: up to the first buffer that
// is changed, and the first block that is cached already.
std::size_t BlockCache::read_ahead_length(std::uint32_t block) const {
  const std::size_t most = std::min<std::size_t>({BlockTransfer::blocks_of(file_.block_size),
                                                  std::max(buffer_count_ / 2, 1u),
                                                  std::size_t{file_.last_block() - block} + 1});
  std::size_t length = 1;
  std::uint32_t buffer = buffers_[oldest()].newer;
  for (; length < most && !buffers_[buffer].changed; ++length) {
    if (lookup(static_cast<std::uint32_t>(block + length)) != none()) break;
    buffer = buffers_[buffer].newer;
  }
  return length;
}

// The records of a block of which so many bytes could be read.
std::uint32_t BlockCache::records_in(std::uint32_t block, std::size_t bytes) const {
  const std::uint32_t expected = expected_records(block);
  const bool complete = bytes >= std::size_t{expected} * file_.record_length;
  return complete ? expected : static_cast<std::uint32_t>(bytes / file_.record_length);
}

// The block may end up short, or, when the file ends before it, not in the cache at all.
Result BlockCache::read_block(std::uint32_t block, std::uint32_t buffer) {
  forget(buffer);
  std::size_t bytes = 0;
  const platform::Outcome outcome = file_.file.read_at(file_.offset_of(file_.first_of(block)),
                                                       data_of(buffer), file_.block_size, bytes);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kCache.detail(3));
  next_block_ = block + 1;
  if (const std::uint32_t held = records_in(block, bytes); held > 0) install(buffer, block, held);
  return Result::ok;
}

// Reads blocks into the oldest buffers, of which `buffer` is the first. Blocks behind the first
// are kept only when they hold all that the record count promises.
Result BlockCache::read_run(std::uint32_t block, std::uint32_t buffer, std::size_t length) {
  std::array<std::uint32_t, BlockTransfer::kMaxBlocks> run;
  BlockTransfer transfer;
  for (std::size_t i = 0; i < length; ++i) {
    run[i] = buffer;
    buffer = buffers_[buffer].newer;
  }
  for (std::size_t i = 0; i < length; ++i) {
    forget(run[i]);
    transfer.add(data_of(run[i]), file_.block_size);
  }
  std::size_t bytes = 0;
  const platform::Outcome outcome =
      transfer.read(file_.file, file_.offset_of(file_.first_of(block)), bytes);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kCache.detail(3));
  next_block_ = block + static_cast<std::uint32_t>(length);
  for (std::size_t i = length; i-- > 0;) {
    const auto read = static_cast<std::uint32_t>(block + i);
    const std::size_t start = i * file_.block_size;
    const std::size_t here =
        bytes > start ? std::min<std::size_t>(bytes - start, file_.block_size) : 0;
    const std::uint32_t held = records_in(read, here);
    if (held > 0 && (i == 0 || held == expected_records(read))) install(run[i], read, held);
  }
  return Result::ok;
}

Byte* BlockCache::peek(std::uint32_t recno) {
  if (!has_buffers()) return nullptr;
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t position = recno - file_.first_of(block);
  const std::uint32_t buffer = lookup(block);
  if (position >= buffers_[buffer].held) return nullptr;
  make_current(buffer);
  return data_of(buffer) + std::size_t{position} * file_.record_length;
}

Byte* BlockCache::note_append(std::uint32_t recno) {
  if (!has_buffers()) return nullptr;
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t buffer = lookup(block);
  if (buffer == none()) return nullptr;
  const std::uint32_t position = recno - file_.first_of(block);
  if (buffers_[buffer].held != position) {
    drop(recno);
    return nullptr;
  }
  ++buffers_[buffer].held;
  ++buffers_[buffer].stored;
  return data_of(buffer) + std::size_t{position} * file_.record_length;
}

void BlockCache::drop(std::uint32_t recno) {
  if (!has_buffers()) return;
  const std::uint32_t buffer = lookup(file_.block_of(recno));
  if (buffer != none()) forget(buffer);
}

void BlockCache::shrink() {
  const std::uint32_t recno = file_.count + 1;
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t buffer = lookup(block);
  const std::uint32_t position = recno - file_.first_of(block);
  if (buffers_[buffer].held <= position) return;
  buffers_[buffer].held = static_cast<std::uint16_t>(position);
  buffers_[buffer].stored = std::min(buffers_[buffer].stored, buffers_[buffer].held);
  if (block == ahead_block_) ahead_block_ = 0;
  if (position == 0) forget(buffer);
}

}  // namespace vqdb::table
