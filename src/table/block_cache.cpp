#include "table/block_cache.h"

#include <algorithm>
#include <bit>

#include "table/block_transfer.h"

namespace vqdb::table {
namespace {

constexpr Operation kCache{1006};
constexpr std::int32_t kAppendDetail = 341;

}  // namespace

bool BlockCache::allocate(std::uint32_t buffers) {
  if (buffers == 0) return true;
  const std::size_t buckets = std::bit_ceil(std::size_t{buffers});
  const std::size_t ring_bytes = (std::size_t{buffers} + 1) * sizeof(Buffer);
  const std::size_t bucket_bytes = buckets * sizeof(std::uint32_t);
  memory_ =
      platform::allocate_bytes(ring_bytes + bucket_bytes + std::size_t{buffers} * file_.block_size);
  if (memory_ == nullptr) return false;
  buffers_ = reinterpret_cast<Buffer*>(memory_.get());
  buckets_ = reinterpret_cast<std::uint32_t*>(memory_.get() + ring_bytes);
  data_ = memory_.get() + ring_bytes + bucket_bytes;
  buffer_count_ = buffers;
  hash_mask_ = static_cast<std::uint32_t>(buckets - 1);
  clear();
  return true;
}

void BlockCache::clear() {
  if (!has_buffers()) return;
  // The ring in the order of the memory, so that blocks read in a row lie in a row.
  for (std::uint32_t i = 0; i <= buffer_count_; ++i) {
    const std::uint32_t next = i == buffer_count_ ? 0 : i + 1;
    const std::uint32_t previous = i == 0 ? buffer_count_ : i - 1;
    buffers_[i] = Buffer{0, next, previous, none(), 0, false};
  }
  std::fill_n(buckets_, std::size_t{hash_mask_} + 1, none());
  leave_current();
  next_block_ = 1;
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

void BlockCache::make_current(std::uint32_t buffer) {
  current_ = buffer;
  current_first_ = file_.first_of(buffers_[buffer].block);
}

// No record is at hand: the head of the ring holds none, and no record has the number 0.
void BlockCache::leave_current() {
  current_ = none();
  current_first_ = 0;
}

void BlockCache::move_to_front(std::uint32_t buffer) {
  Buffer& moved = buffers_[buffer];
  Buffer& head = buffers_[none()];
  if (head.older == buffer) return;
  buffers_[moved.newer].older = moved.older;
  buffers_[moved.older].newer = moved.newer;
  moved.newer = none();
  moved.older = head.older;
  buffers_[head.older].newer = buffer;
  head.older = buffer;
}

void BlockCache::move_to_back(std::uint32_t buffer) {
  Buffer& moved = buffers_[buffer];
  Buffer& head = buffers_[none()];
  if (head.newer == buffer) return;
  buffers_[moved.newer].older = moved.older;
  buffers_[moved.older].newer = moved.newer;
  moved.older = none();
  moved.newer = head.newer;
  buffers_[head.newer].older = buffer;
  head.newer = buffer;
}

void BlockCache::install(std::uint32_t buffer, std::uint32_t block, std::uint32_t held) {
  Buffer& installed = buffers_[buffer];
  std::uint32_t& bucket = buckets_[block & hash_mask_];
  installed.block = block;
  installed.held = static_cast<std::uint16_t>(held);
  installed.chained = bucket;
  bucket = buffer;
  move_to_front(buffer);
}

void BlockCache::forget(std::uint32_t buffer) {
  Buffer& forgotten = buffers_[buffer];
  if (forgotten.block == 0) return;
  std::uint32_t* link = &buckets_[forgotten.block & hash_mask_];
  while (*link != buffer) link = &buffers_[*link].chained;
  *link = forgotten.chained;
  if (forgotten.changed) --changed_count_;
  forgotten.block = 0;
  forgotten.held = 0;
  forgotten.changed = false;
  if (current_ == buffer) leave_current();
}

void BlockCache::mark_changed() {
  Buffer& buffer = buffers_[current_];
  if (buffer.changed) return;
  buffer.changed = true;
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
  const bool cached = buffer != none();
  if (!cached || load == Load::reload || position >= buffers_[buffer].held) {
    std::uint32_t run[BlockTransfer::kMaxBlocks];
    std::size_t run_length = 1;
    if (cached && buffers_[buffer].changed) {
      if (const Result result = write_run(buffer, kCache.detail(2)); !ok(result)) return result;
    } else if (!cached) {
      if (const Result result = oldest(kCache.detail(1), buffer); !ok(result)) return result;
    }
    run[0] = buffer;
    if (!cached) run_length = choose_run(block, run);
    if (const Result result = read_run(block, {run, run_length}); !ok(result)) return result;
    if (position >= buffers_[buffer].held) return fail(block_, Result::io, kCache.detail(4));
  }
  move_to_front(buffer);
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
    if (const Result result = oldest(detail, buffer); !ok(result)) return result;
    if (position == 0) {
      forget(buffer);
      install(buffer, block, 0);
    } else if (const Result result = read_run(block, {&buffer, 1}); !ok(result)) {
      return result;
    }
  }
  // Short of records that the header counts, the place behind them is not the record's.
  if (buffers_[buffer].held != position) return fail(block_, Result::io, kCache.detail(4));
  move_to_front(buffer);
  make_current(buffer);
  record = data_of(buffer) + std::size_t{position} * file_.record_length;
  return Result::ok;
}

// The buffer used longest ago, its block written if changed.
Result BlockCache::oldest(std::int32_t detail, std::uint32_t& buffer) {
  buffer = buffers_[none()].newer;
  return buffers_[buffer].changed ? write_run(buffer, detail) : Result::ok;
}

// The buffers to read blocks into, from run[0] for `block` on: more than one when the block
// begins the table or continues what was read last. Changed and already cached blocks end the run.
std::size_t BlockCache::choose_run(std::uint32_t block, std::span<std::uint32_t> run) const {
  if (block != 1 && block != next_block_) return 1;
  const std::size_t most =
      std::min<std::size_t>({BlockTransfer::blocks_of(file_.block_size), buffer_count_ / 2,
                             run.size(), std::size_t{file_.last_block() - block} + 1});
  std::size_t length = 1;
  while (length < most) {
    const std::uint32_t next = buffers_[run[length - 1]].newer;
    const auto next_block = static_cast<std::uint32_t>(block + length);
    if (next == none() || buffers_[next].changed || lookup(next_block) != none()) break;
    run[length++] = next;
  }
  return length;
}

// Reads blocks from `block` on into these buffers. The first may end up short or empty; others
// are kept only when they hold all that the record count promises.
Result BlockCache::read_run(std::uint32_t block, std::span<const std::uint32_t> run) {
  BlockTransfer transfer;
  for (const std::uint32_t buffer : run) {
    forget(buffer);
    transfer.add(data_of(buffer), file_.block_size);
  }
  std::size_t bytes = 0;
  const platform::Outcome outcome =
      transfer.read(file_.file, file_.offset_of(file_.first_of(block)), bytes);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kCache.detail(3));
  next_block_ = block + static_cast<std::uint32_t>(run.size());
  for (std::size_t i = run.size(); i-- > 0;) {
    const auto read_block = static_cast<std::uint32_t>(block + i);
    const std::size_t start = i * file_.block_size;
    const std::size_t read = bytes > start ? bytes - start : 0;
    const std::uint32_t expected = expected_records(read_block);
    const bool complete = read >= std::size_t{expected} * file_.record_length;
    const std::uint32_t held =
        complete ? expected : static_cast<std::uint32_t>(read / file_.record_length);
    if (held > 0 && (i == 0 || held == expected)) install(run[i], read_block, held);
  }
  return Result::ok;
}

Byte* BlockCache::peek(std::uint32_t recno) {
  if (!has_buffers()) return nullptr;
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t position = recno - file_.first_of(block);
  const std::uint32_t buffer = lookup(block);
  if (position >= buffers_[buffer].held) return nullptr;
  move_to_front(buffer);
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
  return data_of(buffer) + std::size_t{position} * file_.record_length;
}

void BlockCache::drop(std::uint32_t recno) {
  if (!has_buffers()) return;
  const std::uint32_t buffer = lookup(file_.block_of(recno));
  if (buffer == none()) return;
  forget(buffer);
  move_to_back(buffer);
}

void BlockCache::shrink() {
  const std::uint32_t recno = file_.count + 1;
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t buffer = lookup(block);
  const std::uint32_t position = recno - file_.first_of(block);
  if (buffers_[buffer].held <= position) return;
  buffers_[buffer].held = static_cast<std::uint16_t>(position);
  if (position > 0) return;
  forget(buffer);
  move_to_back(buffer);
}

}  // namespace vqdb::table
