#include "table/block_cache.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace vqdb::table {
namespace {

constexpr Operation kCache{1006};
constexpr std::int32_t kAppendDetail = 341;

}  // namespace

bool BlockCache::allocate(std::uint32_t buffers, bool reads_ahead) {
  reads_ahead_ = reads_ahead;
  if (buffers == 0) return true;
  const std::uint64_t buckets = std::bit_ceil(std::uint64_t{buffers});
  const std::uint64_t buffer_bytes = (std::uint64_t{buffers} + 1) * sizeof(Buffer);
  const std::uint64_t bucket_bytes = buckets * sizeof(std::uint32_t);
  const std::uint64_t queue_bytes = (kQueueRoom + std::uint64_t{buffers}) * sizeof(Place);
  const std::uint64_t bytes =
      buffer_bytes + bucket_bytes + queue_bytes + std::uint64_t{buffers} * file_.block_size;
  if (!std::in_range<std::size_t>(bytes)) return false;
  memory_ = platform::allocate_bytes(static_cast<std::size_t>(bytes));
  if (memory_ == nullptr) return false;
  queue_ = reinterpret_cast<Place*>(memory_.get());
  buffers_ = reinterpret_cast<Buffer*>(memory_.get() + queue_bytes);
  buckets_ = reinterpret_cast<std::uint32_t*>(memory_.get() + queue_bytes + buffer_bytes);
  data_ = memory_.get() + queue_bytes + buffer_bytes + bucket_bytes;
  buffer_count_ = buffers;
  hash_mask_ = static_cast<std::uint32_t>(buckets - 1);
  clear();
  return true;
}

void BlockCache::clear() {
  if (!has_buffers()) return;
  for (std::uint32_t i = 0; i <= buffer_count_; ++i) {
    buffers_[i] = {0, std::min(i + 1, none()), kNotUsed, 0, 0, false};
  }
  std::fill_n(buckets_, std::size_t{hash_mask_} + 1, none());
  empty_ = 0;
  clock_ = kClockStart;
  queue_next_ = queue_end_ = 0;
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

void BlockCache::make_current(std::uint32_t buffer) {
  current_ = buffer;
  current_first_ = file_.first_of(buffers_[buffer].block);
  buffers_[buffer].used = ++clock_;
  if (clock_ == kNotUsed - 1) start_clock();
}

// Brings the clock back to the beginning; the buffers keep their order.
void BlockCache::start_clock() {
  const std::span<Place> all = list_used_until(kNotUsed - 1);
  std::ranges::sort(all);
  clock_ = 0;
  for (const Place place : all) {
    if (used_at(place) != 0) buffers_[buffer_at(place)].used = ++clock_;
  }
  queue_next_ = queue_end_;
}

// The buffers that were not used later, where the queue was.
std::span<BlockCache::Place> BlockCache::list_used_until(std::uint32_t time) {
  std::uint32_t end = kQueueRoom;
  for (std::uint32_t i = 0; i < buffer_count_; ++i) {
    queue_[end] = place_of(i);
    end += buffers_[i].used <= time ? 1 : 0;
  }
  return {queue_ + kQueueRoom, queue_ + end};
}

// A time until which some of the buffers were used last, about an eighth of them: judged by
// some that lie evenly among them.
std::uint32_t BlockCache::early_time() const {
  std::array<std::uint32_t, 64> times;
  if (buffer_count_ < 2 * times.size()) return kNotUsed - 1;
  for (std::size_t i = 0; i < times.size(); ++i) {
    times[i] = buffers_[i * buffer_count_ / times.size()].used;
  }
  std::ranges::nth_element(times, times.begin() + times.size() / 8);
  return std::min(times[times.size() / 8], kNotUsed - 1);
}

// Puts the buffers that go first in order: those never used, then those used longest ago. Only some
// of them at once, so that few are used again before they are asked for.
void BlockCache::make_queue() {
  const std::span<Place> first = list_used_until(early_time());
  std::ranges::sort(first);
  queue_next_ = kQueueRoom;
  queue_end_ = kQueueRoom + static_cast<std::uint32_t>(first.size());
}

// The buffer that goes first. REQUIRES that all hold blocks, but for those that were taken.
std::uint32_t BlockCache::oldest() {
  for (;; ++queue_next_) {
    if (queue_next_ == queue_end_) make_queue();
    const std::uint32_t buffer = buffer_at(queue_[queue_next_]);
    if (place_of(buffer) == queue_[queue_next_]) return buffer;
  }
}

// A buffer that was read ahead goes before those in the queue. Without room for it the queue is
// made anew.
void BlockCache::queue_unused(std::uint32_t buffer) {
  if (queue_next_ == 0) queue_next_ = queue_end_;
  if (queue_next_ != queue_end_) queue_[--queue_next_] = place_of(buffer);
}

// No record is at hand: the buffer behind the last holds none, and no record has the number 0.
void BlockCache::leave_current() {
  current_ = none();
  current_first_ = 0;
}

std::uint32_t BlockCache::take_empty() {
  const std::uint32_t buffer = empty_;
  empty_ = buffers_[buffer].chained;
  return buffer;
}

void BlockCache::give_back(std::uint32_t buffer) {
  buffers_[buffer].chained = empty_;
  empty_ = buffer;
}

void BlockCache::install(std::uint32_t buffer, std::uint32_t block, std::uint32_t held) {
  Buffer& installed = buffers_[buffer];
  std::uint32_t& bucket = buckets_[block & hash_mask_];
  installed.block = block;
  installed.used = 0;
  installed.held = static_cast<std::uint16_t>(held);
  installed.stored = installed.held;
  installed.chained = bucket;
  bucket = buffer;
}

// Takes the block out of a buffer that holds one.
void BlockCache::remove_block(std::uint32_t buffer) {
  Buffer& removed = buffers_[buffer];
  std::uint32_t* link = &buckets_[removed.block & hash_mask_];
  while (*link != buffer) link = &buffers_[*link].chained;
  *link = removed.chained;
  if (removed.changed) --changed_count_;
  if (removed.block == ahead_block_) ahead_block_ = 0;
  removed.block = 0;
  removed.used = kNotUsed;
  removed.held = 0;
  removed.stored = 0;
  removed.changed = false;
  if (current_ == buffer) leave_current();
}

void BlockCache::forget(std::uint32_t buffer) {
  remove_block(buffer);
  give_back(buffer);
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
    if (ok(result)) result = reread_block(block, buffer);
  }
  if (!ok(result)) return result;
  if (position >= buffers_[buffer].held) return fail(block_, Result::io, kCache.detail(4));
  make_current(buffer);
  record = data_of(buffer) + std::size_t{position} * file_.record_length;
  return Result::ok;
}

// Whether the block is likely to be asked for again: as long as there is room for it, some of the
// last reads have met their block in a buffer, or this one goes on beside the last. Some of the
// others are kept, too, lest blocks that are used often from now on never come in.
bool BlockCache::is_worth_keeping(std::uint32_t block) {
  constexpr std::uint32_t kMissesBeforePassing = 64;
  constexpr std::uint32_t kPassedOfEach = 8;
  if (!reads_ahead_ || empty_ != none() || block == next_block_ || block == passed_block_) {
    misses_ = 0;
    return true;
  }
  return ++misses_ < kMissesBeforePassing || misses_ % kPassedOfEach == 0;
}

// False where the block has to be read, be it to tell what is wrong.
bool BlockCache::read_past(std::uint32_t recno, std::uint32_t skip, void* out) {
  const std::uint32_t size = file_.record_length - skip;
  std::size_t bytes = 0;
  const platform::Outcome outcome =
      file_.file.read_at(file_.offset_of(recno) + skip, out, size, bytes);
  if (!outcome.ok() || bytes < size) return false;
  passed_block_ = file_.block_of(recno);
  next_block_ = passed_block_ + 1;
  return true;
}

Result BlockCache::read_away(std::uint32_t recno, std::uint32_t skip, void* out) {
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t position = recno - file_.first_of(block);
  const std::uint32_t buffer = lookup(block);
  if (position < buffers_[buffer].held) {
    misses_ = 0;
    make_current(buffer);
    copy_from(buffer, position, skip, out);
    return Result::ok;
  }
  if (buffer == none() && !is_worth_keeping(block) && read_past(recno, skip, out)) {
    return Result::ok;
  }
  Byte* record = nullptr;
  const Result result = find_block(recno, Load::cached, record);
  if (ok(result)) std::memcpy(out, record + skip, file_.record_length - skip);
  return result;
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
  } else if (buffers_[buffer].held < position && !buffers_[buffer].changed) {
    // An earlier read may have come up short.
    if (const Result result = reread_block(block, buffer); !ok(result)) return result;
  }
  // Short of records that the header counts, the place behind them is not the record's.
  if (buffers_[buffer].held != position) return fail(block_, Result::io, kCache.detail(4));
  make_current(buffer);
  record = data_of(buffer) + std::size_t{position} * file_.record_length;
  return Result::ok;
}

// Takes an empty buffer; if there is none, the oldest, its block written if changed.
Result BlockCache::make_room(std::int32_t detail, std::uint32_t& buffer) {
  if (empty_ == none()) {
    const std::uint32_t leaving = oldest();
    if (const Result result = write_out(leaving, detail); !ok(result)) return result;
    forget(leaving);
  }
  buffer = take_empty();
  return Result::ok;
}

// Reads a block that is not cached, and when it begins the table or continues what was read last,
// those behind it too, unless others may change them before they are asked for.
Result BlockCache::read_in(std::uint32_t block, std::uint32_t& buffer) {
  if (const Result result = make_room(kCache.detail(1), buffer); !ok(result)) return result;
  const bool in_order = reads_ahead_ && (block == 1 || block == next_block_);
  if (!in_order) return read_block(block, buffer);
  std::array<std::uint32_t, BlockTransfer::kMaxBlocks> run{buffer};
  const std::size_t length = take_run(block, run);
  return length == 1 ? read_block(block, buffer) : read_run(block, {run.data(), length}, buffer);
}

// Takes buffers for this block, in the first of the run, and for those behind it: up to the first
// that would have to be written, and the first block that is cached already.
std::size_t BlockCache::take_run(std::uint32_t block, std::span<std::uint32_t> run) {
  const std::size_t most = std::min<std::size_t>({BlockTransfer::blocks_of(file_.block_size),
                                                  std::max(buffer_count_ / 2, 1u),
                                                  std::size_t{file_.last_block() - block} + 1});
  std::size_t length = 1;
  for (; length < most; ++length) {
    if (lookup(static_cast<std::uint32_t>(block + length)) != none()) break;
    if (empty_ == none()) {
      const std::uint32_t leaving = oldest();
      if (buffers_[leaving].changed) break;
      forget(leaving);
    }
    run[length] = take_empty();
  }
  return length;
}

// The records of a block of which so many bytes could be read.
std::uint32_t BlockCache::records_in(std::uint32_t block, std::size_t bytes) const {
  const std::uint32_t expected = expected_records(block);
  const bool complete = bytes >= std::size_t{expected} * file_.record_length;
  return complete ? expected : static_cast<std::uint32_t>(bytes / file_.record_length);
}

// Keeps what was read of a block in a buffer that was taken for it, or gives the buffer back.
std::uint32_t BlockCache::keep(std::uint32_t buffer, std::uint32_t block, std::uint32_t held) {
  if (held == 0) {
    give_back(buffer);
    return none();
  }
  install(buffer, block, held);
  return buffer;
}

// Reads a block into a buffer that was taken for it. The block may end up short, or, when the file
// ends before it, not in the cache at all.
Result BlockCache::read_block(std::uint32_t block, std::uint32_t& buffer) {
  std::size_t bytes = 0;
  const platform::Outcome outcome = file_.file.read_at(file_.offset_of(file_.first_of(block)),
                                                       data_of(buffer), file_.block_size, bytes);
  buffer = keep(buffer, block, outcome.ok() ? records_in(block, bytes) : 0);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kCache.detail(3));
  next_block_ = block + 1;
  return Result::ok;
}

Result BlockCache::reread_block(std::uint32_t block, std::uint32_t& buffer) {
  remove_block(buffer);
  return read_block(block, buffer);
}

// Reads blocks into the buffers that were taken for them; the first is the one asked for. Blocks
// behind it are kept only when they hold all that the record count promises.
Result BlockCache::read_run(std::uint32_t block, std::span<const std::uint32_t> run,
                            std::uint32_t& first) {
  BlockTransfer transfer;
  for (const std::uint32_t buffer : run) transfer.add(data_of(buffer), file_.block_size);
  std::size_t bytes = 0;
  const platform::Outcome outcome =
      transfer.read(file_.file, file_.offset_of(file_.first_of(block)), bytes);
  for (std::size_t i = 0; i < run.size(); ++i) {
    const auto read = static_cast<std::uint32_t>(block + i);
    const std::size_t start = i * file_.block_size;
    const std::size_t here =
        outcome.ok() && bytes > start ? std::min<std::size_t>(bytes - start, file_.block_size) : 0;
    const std::uint32_t held = records_in(read, here);
    const bool whole = held == expected_records(read);
    const std::uint32_t kept = keep(run[i], read, i == 0 || whole ? held : 0);
    if (i == 0) {
      first = kept;
    } else if (kept != none()) {
      queue_unused(kept);
    }
  }
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kCache.detail(3));
  next_block_ = block + static_cast<std::uint32_t>(run.size());
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

void BlockCache::prefetch(std::uint32_t recno) const {
  constexpr std::size_t kCacheLine = 64;
  const std::uint32_t block = file_.block_of(recno);
  const std::uint32_t buffer = lookup(block);
  if (buffer == none()) return;
  const std::size_t position = recno - file_.first_of(block);
  const Byte* const record = data_of(buffer) + position * file_.record_length;
  for (std::size_t at = 0; at < file_.record_length; at += kCacheLine) {
    __builtin_prefetch(record + at);
  }
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
