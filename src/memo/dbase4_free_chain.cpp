#include "memo/dbase4_free_chain.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "memo/dbase4_file.h"
#include "memo/dbase4_run.h"
#include "memo/file_layout.h"
#include "memo/memo.h"

namespace vqdb::memo {
namespace {

constexpr Operation kAllocate{211};
constexpr Operation kAllocateLinks{212};
constexpr Operation kFree{1032};

constexpr std::uint32_t kMoreThanAnyRun = std::numeric_limits<std::uint32_t>::max();

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

// The file may end inside these bytes, behind the last ones of a memo that lay here.
Result write_run(Memo& memo, Run run, std::uint32_t link, std::int32_t detail) {
  std::array<Byte, kFreeRunBytes> bytes;
  store_le32(bytes.data(), link);
  store_le32(bytes.data() + 4, run.count);
  const std::uint64_t start = memo.offset_of(run.first);
  if (!memo.file.write_at(start, bytes.data(), bytes.size()).ok()) {
    return fail(memo.block, Result::io, detail);
  }
  memo.grow_to(start + bytes.size());
  return Result::ok;
}

// Lets the link at this offset, in a run or in the header, name another block. One that could only
// be written in part is put back as it was, as far as the file lets us.
struct Link {
  std::uint32_t from;
  std::uint32_t to;
};

Result set_link(Memo& memo, std::uint64_t offset, Link link, std::int32_t detail) {
  std::array<Byte, 4> bytes;
  store_le32(bytes.data(), link.to);
  if (memo.file.write_at(offset, bytes.data(), bytes.size()).ok()) return Result::ok;
  store_le32(bytes.data(), link.from);
  static_cast<void>(memo.file.write_at(offset, bytes.data(), bytes.size()).ok());
  return fail(memo.block, Result::io, detail);
}

bool link_is(Memo& memo, std::uint64_t offset, std::uint32_t first) {
  std::array<Byte, 4> bytes;
  return memo.file.read_exactly(offset, bytes.data(), bytes.size()).ok() &&
         load_le32(bytes.data()) == first;
}

}  // namespace

// Reads the beginnings of runs. Neighbours in a chain often lie close together, as memos are freed
// one after the other; then one read gets many of them, in the direction in which the chain goes.
// What it holds is as old as the reader: it lasts for one walk, under the file's lock.
class ChainReader {
 public:
  // Null where the run cannot be read. `before` is the run that leads there, or {}.
  const Byte* read(Memo& memo, Run before, std::uint32_t first) {
    const std::uint64_t start = memo.offset_of(first);
    if (start < offset_ || start + kFreeRunBytes > offset_ + size_) fill(memo, before, start);
    const bool has_it = start >= offset_ && start + kFreeRunBytes <= offset_ + size_;
    return has_it ? &bytes_[static_cast<std::size_t>(start - offset_)] : nullptr;
  }

 private:
  // So that a read of many beginnings costs less than one of each.
  static constexpr std::size_t kClose = platform::kChunkBytes / 16;

  void fill(Memo& memo, Run before, std::uint64_t start) {
    const std::uint64_t from = memo.offset_of(before.first);
    const bool is_close =
        before.count != 0 && std::max(start, from) - std::min(start, from) <= kClose;
    const std::size_t wanted = is_close ? bytes_.size() : kFreeRunBytes;
    const std::uint64_t end = start + kFreeRunBytes;
    offset_ = start > from ? start : end - std::min<std::uint64_t>(end, wanted);
    if (!memo.read_at(offset_, bytes_.data(), wanted, size_).ok()) size_ = 0;
  }

  std::uint64_t offset_ = 0;
  std::size_t size_ = 0;
  std::array<Byte, platform::kChunkBytes> bytes_;
};

void FreeChain::reset(std::uint32_t first) {
  runs_.clear();
  next_ = first;
}

std::uint32_t FreeChain::front() const { return first_at(runs_.begin()); }

// The first block of the run at this place, or the chain's end.
std::uint32_t FreeChain::first_at(FreeRuns::Place place) const {
  return place == runs_.end() ? next_ : runs_.at(place).first;
}

// The first block of the run behind this one.
std::uint32_t FreeChain::behind(FreeRuns::Place place) const {
  return first_at(runs_.behind(place));
}

// Whether the chain has more runs than those read so far.
bool FreeChain::goes_on(const Memo& memo) const { return memo.offset_of(next_) < memo.file_size; }

// Reads the run at next_, which lies inside the file.
Result FreeChain::read_run(Memo& memo, ChainReader& reader) {
  const Run before = runs_.empty() ? Run{} : runs_.at(runs_.before(runs_.end()));
  const Byte* const bytes = reader.read(memo, before, next_);
  if (bytes == nullptr) return fail(memo.block, Result::io, kAllocate.detail(4));
  const std::uint32_t link = load_le32(bytes);
  const Run run{next_, load_le32(bytes + 4)};
  const std::uint64_t blocks = memo.blocks_in_file();
  const bool sound = run.first != 0 && run.count != 0 && run.end() <= blocks && link != 0 &&
                     !looks_like_memo(memo, link) && runs_.size() < blocks;
  if (!sound) return broken_chain(memo);
  runs_.push_back(run);
  next_ = link;
  return Result::ok;
}

// Finds the first run that has enough blocks or one in common with `used`; runs_.end() without one.
Result FreeChain::find(Memo& memo, std::uint32_t blocks, Run used, FreeRuns::Place& place) {
  place = runs_.find(blocks, used);
  ChainReader reader;
  while (place == runs_.end() && goes_on(memo)) {
    if (const Result read = read_run(memo, reader); !ok(read)) return read;
    const FreeRuns::Place last = runs_.before(runs_.end());
    const Run& run = runs_.at(last);
    place = run.count >= blocks || overlap(run, used) ? last : runs_.end();
  }
  return Result::ok;
}

// Once for each handle, as it takes reading all of the chain: a memo in one run would be written
// over by a later one in the other.
Result FreeChain::check_apart(Memo& memo) {
  if (is_apart_) return Result::ok;
  ChainReader reader;
  while (goes_on(memo)) {
    if (const Result read = read_run(memo, reader); !ok(read)) return read;
  }
  std::vector<Run> sorted = runs_.all();
  std::ranges::sort(sorted, {}, &Run::first);
  if (std::ranges::adjacent_find(sorted, overlap) != sorted.end()) return broken_chain(memo);
  is_apart_ = true;
  return Result::ok;
}

// Whether the file has what a memo at this place goes by as it is known here.
bool FreeChain::is_as_in_file(Memo& memo, FreeRuns::Place place) const {
  std::uint64_t size = 0;
  const bool begins_chain = place == runs_.begin();
  return memo.file.size(size).ok() && size == memo.file_size &&
         link_is(memo, kNextFreeOffset, front()) &&
         (begins_chain || link_is(memo, link_before(memo, place), first_at(place)));
}

// Who writes without a lock may have done so while this handle did, at a time that it takes for its
// own. What is known then does for reading, but not for giving out blocks.
Result FreeChain::find_place(Memo& memo, std::uint32_t blocks, Run used, FreeRuns::Place& place) {
  const bool may_be_old = memo.shared() && memo.is_carried;
  Result result = check_apart(memo);
  if (ok(result)) result = find(memo, blocks, used, place);
  if (!ok(result) || !may_be_old || is_as_in_file(memo, place)) return result;
  result = refresh_dbase4(memo);
  return ok(result) ? find(memo, blocks, used, place) : result;
}

Result FreeChain::take(Memo& memo, std::uint32_t blocks, Run used, Placement& placement) {
  FreeRuns::Place place;
  if (const Result found = find_place(memo, blocks, used, place); !ok(found)) return found;
  if (place == runs_.end()) return append(memo, blocks, placement);
  const Run run = runs_.at(place);
  if (overlap(run, used)) return broken_chain(memo);
  placement = {{run.first, blocks}, false};
  const Run rest = past_mark(Run{run.first + blocks, run.count - blocks});
  return rest.count == 0 ? take_whole(memo, place) : take_part(memo, place, rest);
}

Result FreeChain::contains(Memo& memo, std::uint32_t block, bool& yes) {
  FreeRuns::Place place;
  const Result found = find(memo, kMoreThanAnyRun, {block, 1}, place);
  yes = ok(found) && place != runs_.end() && runs_.at(place).first == block;
  return found;
}

// Where the link to the run at this place, or to the chain's end, lies in the file.
std::uint64_t FreeChain::link_before(const Memo& memo, FreeRuns::Place place) const {
  return place == runs_.begin() ? kNextFreeOffset
                                : memo.offset_of(runs_.at(runs_.before(place)).first);
}

Result FreeChain::take_whole(Memo& memo, FreeRuns::Place place) {
  const Link link{runs_.at(place).first, behind(place)};
  const Result linked = set_link(memo, link_before(memo, place), link, kAllocateLinks.detail(0));
  if (ok(linked)) runs_.erase(place);
  return linked;
}

// The rest is written before it is linked, so that the chain never names a block that is no run.
Result FreeChain::take_part(Memo& memo, FreeRuns::Place place, Run rest) {
  Result result = write_run(memo, rest, behind(place), kAllocate.detail(9));
  const Link link{runs_.at(place).first, rest.first};
  if (ok(result)) result = set_link(memo, link_before(memo, place), link, kAllocate.detail(8));
  if (ok(result)) runs_.replace(place, rest);
  return result;
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
  const Result linked =
      set_link(memo, link_before(memo, runs_.end()), link, kAllocateLinks.detail(3));
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
  return set_link(memo, kNextFreeOffset, {old_front, run.first}, kFree.detail(3));
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

}  // namespace vqdb::memo
