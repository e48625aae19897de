#include "memo/dbase4_free_chain.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "memo/dbase4_run.h"
#include "memo/file_layout.h"
#include "memo/memo.h"

namespace vqdb::memo {
namespace {

constexpr Operation kAllocate{211};
constexpr Operation kAllocateLinks{212};
constexpr Operation kFree{1032};

// Stands for the file header where a run's index is asked for.
constexpr std::size_t kInHeader = std::numeric_limits<std::size_t>::max();

Result broken_chain(Memo& memo) {
  return fail(memo.block, Result::bad_format, kAllocate.detail(7));
}

// A link to this one block would read as the mark of a memo, so no run begins there and no chain
// ends there.
constexpr std::uint32_t kMarkBlock =
    kMemoMark[0] | kMemoMark[1] << 8 | kMemoMark[2] << 16 | std::uint32_t{kMemoMark[3]} << 24;

constexpr std::uint32_t past_mark(std::uint32_t block) {
  return block == kMarkBlock ? block + 1 : block;
}

Run past_mark(Run run) { return run.first == kMarkBlock ? Run{run.first + 1, run.count - 1} : run; }

// The link that a memo's header would make, were it read as a free run. Behind the end of the file
// no chain has a reason to point at just this block.
bool looks_like_memo(const Memo& memo, std::uint32_t link) {
  return link == kMarkBlock && link > memo.blocks_in_file();
}

bool overlap(Run a, Run b) {
  return a.first < std::uint64_t{b.first} + b.count && b.first < std::uint64_t{a.first} + a.count;
}

Result write_run(Memo& memo, Run run, std::uint32_t link, std::int32_t detail) {
  std::array<Byte, kFreeRunBytes> bytes;
  store_le32(bytes.data(), link);
  store_le32(bytes.data() + 4, run.count);
  if (memo.file.write_at(memo.offset_of(run.first), bytes.data(), bytes.size()).ok()) {
    return Result::ok;
  }
  return fail(memo.block, Result::io, detail);
}

}  // namespace

void FreeChain::reset(std::uint32_t first) {
  runs_.clear();
  next_ = first;
}

std::uint32_t FreeChain::front() const { return behind(kInHeader); }

// The first block of the run behind the one at index.
std::uint32_t FreeChain::behind(std::size_t index) const {
  const std::size_t following = index == kInHeader ? 0 : index + 1;
  return following < runs_.size() ? runs_[following].first : next_;
}

// Reads the run at next_, which lies inside the file.
Result FreeChain::read_run(Memo& memo) {
  std::array<Byte, kFreeRunBytes> bytes;
  if (!memo.file.read_exactly(memo.offset_of(next_), bytes.data(), bytes.size()).ok()) {
    return fail(memo.block, Result::io, kAllocate.detail(4));
  }
  const std::uint32_t link = load_le32(bytes.data());
  const Run run{next_, load_le32(bytes.data() + 4)};
  const std::uint64_t blocks = memo.blocks_in_file();
  const bool sound = run.first != 0 && run.count != 0 &&
                     std::uint64_t{run.first} + run.count <= blocks && link != 0 &&
                     !looks_like_memo(memo, link) && runs_.size() < blocks;
  if (!sound) return broken_chain(memo);
  runs_.push_back(run);
  next_ = link;
  return Result::ok;
}

// Once for each handle, as it takes reading all of the chain: a memo in one run would be written
// over by a later one in the other.
Result FreeChain::check_apart(Memo& memo) {
  if (is_apart_) return Result::ok;
  while (memo.offset_of(next_) < memo.file_size) {
    if (const Result read = read_run(memo); !ok(read)) return read;
  }
  std::vector<Run> sorted(runs_.begin(), runs_.end());
  std::ranges::sort(sorted, {}, &Run::first);
  if (std::ranges::adjacent_find(sorted, overlap) != sorted.end()) return broken_chain(memo);
  is_apart_ = true;
  return Result::ok;
}

Result FreeChain::take(Memo& memo, std::uint32_t blocks, Run used, Placement& placement) {
  if (const Result apart = check_apart(memo); !ok(apart)) return apart;
  for (std::size_t i = 0;; ++i) {
    if (i == runs_.size()) {
      if (memo.offset_of(next_) >= memo.file_size) return append(memo, blocks, placement);
      if (const Result read = read_run(memo); !ok(read)) return read;
    }
    if (overlap(runs_[i], used)) return broken_chain(memo);
    if (runs_[i].count < blocks) continue;
    placement = {{runs_[i].first, blocks}, false};
    const Run rest = past_mark(Run{runs_[i].first + blocks, runs_[i].count - blocks});
    return rest.count == 0 ? take_whole(memo, i) : take_part(memo, i, rest);
  }
}

Result FreeChain::contains(Memo& memo, std::uint32_t block, bool& yes) {
  yes = false;
  for (std::size_t i = 0; !yes; ++i) {
    if (i == runs_.size()) {
      if (memo.offset_of(next_) >= memo.file_size) break;
      if (const Result read = read_run(memo); !ok(read)) return read;
    }
    yes = runs_[i].first == block;
  }
  return Result::ok;
}

Result FreeChain::take_whole(Memo& memo, std::size_t index) {
  const Link link{runs_[index].first, behind(index)};
  const Result linked = set_link(memo, index - 1, link, kAllocateLinks.detail(0));
  if (!ok(linked)) return linked;
  runs_.erase(runs_.begin() + static_cast<std::ptrdiff_t>(index));
  return Result::ok;
}

// The rest is written before it is linked, so that the chain never names a block that is no run.
Result FreeChain::take_part(Memo& memo, std::size_t index, Run rest) {
  Result result = write_run(memo, rest, behind(index), kAllocate.detail(9));
  const Link link{runs_[index].first, rest.first};
  if (ok(result)) result = set_link(memo, index - 1, link, kAllocate.detail(8));
  if (!ok(result)) return result;
  runs_[index] = rest;
  return Result::ok;
}

// The chain's end moves before the memo is written: the other way round a crash would leave a chain
// that goes on inside the new memo. A crash in between leaves a gap as long as the memo. A long gap
// is not filled but used: nothing lies behind the end of the file.
Result FreeChain::append(Memo& memo, std::uint32_t blocks, Placement& placement) {
  const std::uint64_t gap = memo.offset_of(next_) - memo.file_size;
  if (next_ == 0 || gap > kMaxFilledGap + kLongestMemo + memo.block_size) {
    return broken_chain(memo);
  }
  const std::uint32_t first =
      past_mark(gap <= kMaxFilledGap ? next_ : static_cast<std::uint32_t>(memo.blocks_in_file()));
  if (blocks > std::numeric_limits<std::uint32_t>::max() - first) {
    return fail(memo.block, Result::disk_full, kAllocate.detail(5));
  }
  if (const Result filled = fill_gap(memo, memo.offset_of(first)); !ok(filled)) return filled;
  if (const Result moved = move_end(memo, first + blocks); !ok(moved)) return moved;
  placement = {{first, blocks}, true};
  return Result::ok;
}

Result FreeChain::move_end(Memo& memo, std::uint32_t end) {
  end = past_mark(end);
  const Link link{next_, end};
  const Result linked = set_link(memo, runs_.size() - 1, link, kAllocateLinks.detail(3));
  if (ok(linked)) next_ = end;
  return linked;
}

Result FreeChain::give(Memo& memo, Run run) {
  run = past_mark(run);
  if (run.count == 0) return Result::ok;
  const std::uint32_t old_front = front();
  runs_.push_front(run);  // while nothing is written yet: there may be no memory
  const Result written = write_run(memo, run, old_front, kFree.detail(1));
  if (!ok(written)) return written;
  return set_link(memo, kInHeader, {old_front, run.first}, kFree.detail(3));
}

void FreeChain::give_back(Memo& memo, const Placement& placement) {
  const std::int32_t detail = memo.block->detail;
  if (placement.at_end) {
    shrink_end(memo, placement.run.first);
  } else {
    static_cast<void>(give(memo, placement.run));
  }
  memo.block->detail = detail;
}

// Moves the chain's end back to a run at the end of the file. Blocks of it that the file reached
// into become a free run.
void FreeChain::shrink_end(Memo& memo, std::uint32_t first) {
  if (!memo.file.size(memo.file_size).ok()) return;
  const std::uint64_t reached = std::max<std::uint64_t>(memo.blocks_in_file(), first) - first;
  if (ok(move_end(memo, first + static_cast<std::uint32_t>(reached))) && reached != 0) {
    static_cast<void>(give(memo, {first, static_cast<std::uint32_t>(reached)}));
  }
}

// Lets the run at index, or the header, name another block. A link that could only be written in
// part is put back as it was, as far as the file lets us.
Result FreeChain::set_link(Memo& memo, std::size_t index, Link link, std::int32_t detail) const {
  const std::uint64_t offset =
      index == kInHeader ? kNextFreeOffset : memo.offset_of(runs_[index].first);
  std::array<Byte, 4> bytes;
  store_le32(bytes.data(), link.to);
  if (memo.file.write_at(offset, bytes.data(), bytes.size()).ok()) return Result::ok;
  store_le32(bytes.data(), link.from);
  static_cast<void>(memo.file.write_at(offset, bytes.data(), bytes.size()).ok());
  return fail(memo.block, Result::io, detail);
}

}  // namespace vqdb::memo
