#include "index/tree/page_cache.h"

#include <algorithm>
#include <array>
#include <bit>
#include <tuple>
#include <utility>

#include "frame/system_file.h"

namespace vqdb::index {
namespace {

constexpr Operation kPages{1024};
constexpr Operation kLog{1034};
constexpr std::int32_t kForceFailed = 10194;

// So few changes of leaves, as one operation makes, are written in the order in which they were
// made: an update's new entry before its old one goes. With changes that hold only together they
// go by the same log.
constexpr std::ptrdiff_t kFewAlone = 8;

// So many pages are read alone when what was kept had to go, as somebody else keeps changing the
// file; behind them these come at once, a page of the system's memory.
constexpr std::uint32_t kLoadsAlone = 32;
constexpr PageNumber kPagesAtOnce = 8;

// With more of them the table of pages would outgrow its numbers.
constexpr std::uint32_t kMostBuffers = 1u << 30;

// What the file relies on, cut short, is worse than a late success.
template <typename Work>
Result twice(Work work) {
  const Result result = work();
  return ok(result) ? result : work();
}

}  // namespace

bool PageCache::allocate(std::uint32_t buffers) {
  if (buffers > kMostBuffers) return false;
  const std::uint32_t slots = std::bit_ceil(buffers + buffers / 3 + 1);
  images_ = platform::allocate_bytes(buffers, page_bytes_);
  frames_ = platform::allocate_array<FrameState>(buffers);
  slots_ = platform::allocate_array<Slot>(slots);
  listed_ = platform::allocate_array<Frame>(buffers);
  changed_ = platform::allocate_array<Frame>(buffers);
  if (images_ == nullptr || frames_ == nullptr || slots_ == nullptr || listed_ == nullptr ||
      changed_ == nullptr) {
    return false;
  }
  buffers_ = buffers;
  slot_mask_ = slots - 1;
  hash_shift_ = 32 - static_cast<std::uint32_t>(std::countr_zero(slots));
  home_shift_ = static_cast<std::uint32_t>(std::countr_zero(grid_.step()));
  return true;
}

void PageCache::take_in(Frame frame, PageNumber page) {
  FrameState& state = frames_[frame];
  state.page = page;
  state.referenced = true;
  if (!state.listed) {
    state.listed = true;
    listed_[listed_count_++] = frame;
  }
  if (home_of(page) != frame) *find(page) = {page, frame};
}

Result PageCache::fetch_away(PageNumber page, Frame& frame) {
  const Slot* const slot = find(page);
  if (slot->page != page) return load(page, frame);
  frame = slot->frame;
  frames_[frame].referenced = true;
  return Result::ok;
}

Result PageCache::load(PageNumber page, Frame& frame) {
  if (page < grid_.first || page >= limit_ || limit_ - page < grid_.step()) {
    return fail(block_, Result::page_error, kPages.detail(5));
  }
  if (const Result result = victim(page, frame); !ok(result)) return result;
  PageRun run = beside(page, frame);
  const auto read = [&] {
    const Frame first = frame - (page - run.first);
    return read_past(offset_of(run.first), {image(first), std::size_t{run.count} * page_bytes_});
  };
  auto outcome = read();
  // What lies beside may be damaged, or gone where somebody has cut the file.
  if (!outcome.ok() && run.count > 1) {
    run = {page, 1};
    outcome = read();
  }
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kPages.detail(2));
  for (std::uint32_t i = 0; i < run.count; ++i) {
    const PageNumber other = run.first + i;
    take_in(frame - (page - other), other);
    frames_[frame - (page - other)].referenced = other == page;
  }
  return Result::ok;
}

// Who reads on comes to the pages beside the one that he asks for, too: where their homes are
// empty, which follow one another as the pages do, they come along.
PageCache::PageRun PageCache::beside(PageNumber page, Frame frame) {
  PageRun run = {page, 1};
  if (!grid_.has_only_pages || ++loads_ <= kLoadsAlone || home_of(page) != frame) return run;
  const auto is_free = [&](PageNumber other) {
    const FrameState& home = frames_[home_of(other)];
    return home_of(other) - frame == other - page && home.page == 0 && home.pins == 0 &&
           !home.changed && find(other)->page != other;
  };
  const PageNumber group = page / kPagesAtOnce * kPagesAtOnce;
  const PageNumber start = std::max(group, grid_.first);
  while (run.first > start && is_free(run.first - 1)) --run.first;
  // The last page may be cut short.
  const PageNumber stop = std::min(group + kPagesAtOnce, std::max(store_.file_end(), 1u) - 1);
  PageNumber end = page + 1;
  while (end < stop && is_free(end)) ++end;
  run.count = end - run.first;
  return run;
}

// New pages are mostly numbered from the end of the file on, one by one.
Result PageCache::fetch_new(Frame& frame) {
  PageNumber likely = limit_;
  while (frames_[home_of(likely)].pins > 0 && likely - limit_ < buffers_) {
    likely += 1u << home_shift_;
  }
  if (const Result result = victim(likely, frame); !ok(result)) return result;
  std::fill_n(image(frame), page_bytes_, Byte{0});
  return Result::ok;
}

void PageCache::name_new(Frame frame, PageNumber page, std::uint32_t height) {
  if (frames_[home_of(page)].page == page) {
    forget(home_of(page));
  } else if (const Slot* const away = find(page); away->page == page) {
    forget(away->frame);
  }
  take_in(frame, page);
  mark_joint(frame, height);
  frames_[frame].fresh = true;
}

void PageCache::mark_changed(Frame frame) {
  FrameState& state = frames_[frame];
  if (state.changed) return;
  state.changed = true;
  changed_[changed_count_++] = frame;
}

void PageCache::mark_joint(Frame frame, std::uint32_t height) {
  mark_changed(frame);
  frames_[frame].joint = true;
  frames_[frame].height = static_cast<std::uint8_t>(height);
}

// A page that the file does not have yet is written all the same: the file must hold as many pages
// as its header counts.
void PageCache::abandon(Frame frame) {
  if (frames_[frame].page == 0 || frames_[frame].fresh) return;
  forget(frame);
}

void PageCache::forget(Frame frame) {
  const PageNumber page = std::exchange(frames_[frame].page, 0);
  if (page != 0 && home_of(page) != frame) erase_slot(page);
}

// Later entries that were pushed on by the erased one move back, so that no search stops early.
void PageCache::erase_slot(PageNumber page) {
  auto hole = static_cast<std::uint32_t>(find(page) - slots_.get());
  for (std::uint32_t at = (hole + 1) & slot_mask_; slots_[at].page != 0;
       at = (at + 1) & slot_mask_) {
    const std::uint32_t wanted = hash(slots_[at].page);
    if (((at - wanted) & slot_mask_) < ((at - hole) & slot_mask_)) continue;
    slots_[hole] = slots_[at];
    hole = at;
  }
  slots_[hole] = {};
}

Result PageCache::victim(PageNumber page, Frame& frame) {
  frame = home_of(page);
  const FrameState& home = frames_[frame];
  if (home.pins > 0 || home.changed || (home.page != 0 && home.referenced)) {
    if (!find_victim(false, frame)) return fail(block_, Result::no_memory, kPages.detail(4));
    if (frames_[frame].changed) {
      const Result written = write_changed();
      // Where nothing can be written, reading still goes on as long as a clean buffer is left.
      if (!ok(written) && !find_victim(true, frame)) return written;
    }
  }
  forget(frame);
  return Result::ok;
}

// The first frame that is empty or was not used since the hand last passed.
bool PageCache::find_victim(bool clean_only, Frame& frame) {
  for (std::uint32_t steps = 0; steps < 2 * buffers_; ++steps) {
    const Frame candidate = hand_;
    hand_ = hand_ + 1 == buffers_ ? 0 : hand_ + 1;
    FrameState& state = frames_[candidate];
    if (state.pins > 0 || (clean_only && state.changed)) continue;
    if (std::exchange(state.referenced, false) && state.page != 0) continue;
    frame = candidate;
    return true;
  }
  return false;
}

// Writes pages that follow one another in the file with as few calls as the system allows.
Result PageCache::write_run(std::span<const Frame> frames) {
  std::array<platform::Piece, platform::kMaxPieces> pieces;
  for (std::size_t i = 0; i < frames.size(); ++i) pieces[i] = {image(frames[i]), page_bytes_};
  const auto outcome = file_.write_pieces(offset_of(frames_[frames.front()].page),
                                          std::span(pieces).first(frames.size()));
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kPages.detail(3));
  settle(frames);
  return Result::ok;
}

Result PageCache::write_frames(std::span<const Frame> frames) {
  const std::size_t longest =
      std::clamp<std::size_t>(platform::kChunkBytes / page_bytes_, 1, platform::kMaxPieces);
  const PageNumber step = grid_.step();
  for (std::size_t first = 0; first < frames.size();) {
    std::size_t end = first + 1;
    while (end < frames.size() && end - first < longest &&
           frames_[frames[end]].page == frames_[frames[end - 1]].page + step) {
      ++end;
    }
    const Result result = write_run(frames.subspan(first, end - first));
    if (!ok(result)) return result;
    first = end;
  }
  return Result::ok;
}

// The pages are in the file.
void PageCache::settle(std::span<const Frame> frames) {
  for (const Frame frame : frames) {
    frames_[frame].changed = frames_[frame].fresh = frames_[frame].joint = false;
  }
}

Result PageCache::fill_log(std::span<const Frame> joint) {
  log_.start(store_.file_end());
  bool has_room = true;
  for (const Frame frame : joint) {
    has_room = has_room && log_.add(frames_[frame].page, {image(frame), page_bytes_});
  }
  has_room = has_room && store_.log_changes(log_);
  return has_room ? Result::ok : fail(block_, Result::no_memory, kLog.detail(1));
}

Result PageCache::keep_order() {
  if (!force_out(block_, file_).ok()) return fail(block_, Result::io, kForceFailed);
  is_kept_ = true;
  return Result::ok;
}

Result PageCache::write_log() {
  log_at_ = limit_;
  const auto outcome = log_.write(file_, log_at_);
  return outcome.ok() ? Result::ok : fail(block_, transfer_result(outcome), kLog.detail(2));
}

Result PageCache::apply_log() {
  const auto outcome = log_.apply(file_);
  return outcome.ok() ? Result::ok : fail(block_, transfer_result(outcome), kPages.detail(3));
}

// A single write needs no log. Where the log finds no room, changes that need no new page are made
// without it, the lower pages first: entries can be removed from a full disk.
Result PageCache::write_together(std::span<const Frame> added, std::span<const Frame> joint) {
  const bool has_header = store_.has_changes();
  if (const Result result = fill_log(joint); !ok(result)) return result;
  const bool is_single = log_.records() + (has_header ? 1 : 0) <= 1;
  if (!is_single) {
    // The place of the log may be that of one which the device still has a mark of.
    const Result kept = is_kept_ ? Result::ok : keep_order();
    if (!ok(kept)) return kept;
    const std::int32_t detail = block_.detail;
    const Result logged = write_log();
    // New pages that an earlier try has written, too.
    const bool has_new = limit_ > store_.file_end() ||
                         std::ranges::any_of(joint, [&](Frame f) { return frames_[f].fresh; });
    if (!ok(logged) && has_new) return logged;
    if (ok(logged)) {
      Result result = write_frames(added);
      if (ok(result)) result = keep_order();
      return ok(result) ? commit_log(joint) : result;
    }
    block_.detail = detail;
  }
  Result result = write_frames(added);
  if (ok(result) && !added.empty()) result = keep_order();
  if (!ok(result)) return result;
  result = twice([&] { return apply_log(); });
  if (!ok(result)) return result;
  settle(joint);
  return has_header ? twice([&] { return store_.write_header(false); }) : Result::ok;
}

// With the mark the change is made; what then fails is done by the next flush.
Result PageCache::commit_log(std::span<const Frame> joint) {
  if (const Result result = twice([&] { return store_.write_header(true); }); !ok(result)) {
    return result;
  }
  unfinished_ = true;
  settle(joint);
  const std::int32_t detail = block_.detail;
  if (!ok(finish_log())) block_.detail = detail;
  return Result::ok;
}

// What the log says is done; the headers may have changed again since. The log stays, as the next
// one mostly takes its place: cutting it off costs more than writing it.
Result PageCache::end_log() {
  constexpr Byte kFinished = 0;
  auto outcome = file_.write_at(store_.mark_offset(), &kFinished, 1);
  if (!outcome.ok()) outcome = file_.write_at(store_.mark_offset(), &kFinished, 1);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kLog.detail(5));
  forget_log();
  leaves_log_ = true;
  is_kept_ = false;
  return Result::ok;
}

// Of a flush that was left unfinished.
Result PageCache::finish_log() {
  if (!unfinished_) return Result::ok;
  Result result = keep_order();
  if (ok(result)) result = twice([&] { return apply_log(); });
  if (ok(result)) result = keep_order();
  return ok(result) ? end_log() : result;
}

void PageCache::forget_log() {
  log_.start(0);
  unfinished_ = false;
}

void PageCache::cut_log() {
  if (!leaves_log_ || unfinished_ || !(is_kept_ || ok(keep_order()))) return;
  leaves_log_ = !file_.truncate(offset_of(limit_)).ok();
}

Result PageCache::take_up_log(bool for_reading, bool& found) {
  forget_log();
  log_at_ = limit_;
  found = false;
  switch (log_.read(file_, log_at_)) {
    case RedoLog::Found::unreadable:
      return fail(block_, Result::io, kLog.detail(3));
    case RedoLog::Found::no_memory:
      return fail(block_, Result::no_memory, kLog.detail(1));
    case RedoLog::Found::none:
      return Result::ok;
    case RedoLog::Found::log:
      break;
  }
  found = true;
  unfinished_ = !for_reading;
  return finish_log();
}

platform::Outcome PageCache::read_past(std::uint64_t offset, std::span<Byte> bytes) {
  const auto outcome = file_.read_exactly(offset, bytes.data(), bytes.size());
  if (!store_.holds_still()) return {platform::Error::other, 0};
  log_.patch(offset, bytes);
  return outcome;
}

// The changed pages, those that are abandoned left out: behind the file's end, joint, alone.
PageCache::Parts PageCache::divide_changed() {
  Frame* const begin = changed_.get();
  Frame* const end = std::remove_if(begin, begin + changed_count_, [&](Frame frame) {
    FrameState& state = frames_[frame];
    if (state.page != 0) return false;
    state.changed = state.fresh = state.joint = false;
    return true;
  });
  changed_count_ = static_cast<std::uint32_t>(end - begin);
  const PageNumber file_end = store_.file_end();
  Frame* alone = std::stable_partition(begin, end, [&](Frame f) { return frames_[f].joint; });
  Frame* const joint = std::partition(
      begin, alone, [&](Frame f) { return frames_[f].fresh && frames_[f].page >= file_end; });
  const auto rank_of = [&](Frame f) { return std::tuple(frames_[f].height, frames_[f].page); };
  const auto by_page = [&](Frame a, Frame b) { return frames_[a].page < frames_[b].page; };
  std::sort(begin, joint, by_page);
  std::sort(joint, alone, [&](Frame a, Frame b) { return rank_of(a) < rank_of(b); });
  if (end - alone > kFewAlone) {
    std::sort(alone, end, by_page);
  } else if (alone != begin || store_.has_changes()) {
    alone = end;
  }
  return {{begin, joint}, {joint, alone}, {alone, end}};
}

Result PageCache::write_changed() {
  if (const Result result = finish_log(); !ok(result)) return result;
  const auto [added, joint, alone] = divide_changed();
  Result result = Result::ok;
  if (!added.empty() || !joint.empty() || store_.has_changes()) {
    result = write_together(added, joint);
    if (!unfinished_) forget_log();
  }
  // The log would be made again over what is written now.
  if (ok(result) && unfinished_ && !alone.empty()) result = finish_log();
  if (ok(result)) result = twice([&, lone = alone] { return write_frames(lone); });
  Frame* const begin = changed_.get();
  const auto left =
      std::remove_if(begin, begin + changed_count_, [&](Frame f) { return !frames_[f].changed; });
  changed_count_ = static_cast<std::uint32_t>(left - begin);
  return result;
}

void PageCache::drop_all() {
  is_kept_ = false;  // others may have worked on the file
  for (std::uint32_t i = 0; i < listed_count_; ++i) {
    forget(listed_[i]);
    frames_[listed_[i]] = {};
  }
  listed_count_ = hand_ = changed_count_ = loads_ = 0;
}

}  // namespace vqdb::index
