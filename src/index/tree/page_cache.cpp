#include "index/tree/page_cache.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include "frame/system_file.h"

namespace vqdb::index {
namespace {

constexpr Operation kPages{1024};

}  // namespace

bool PageCache::allocate(std::uint32_t buffers) {
  const std::uint32_t slots = std::bit_ceil(buffers + buffers / 3 + 1);
  images_ = platform::allocate_bytes(std::size_t{buffers} * page_bytes_);
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
  const auto outcome = file_.read_exactly(offset_of(page), image(frame), page_bytes_);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kPages.detail(2));
  take_in(frame, page);
  return Result::ok;
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
  mark_changed(frame, height);
  frames_[frame].fresh = true;
}

void PageCache::mark_changed(Frame frame, std::uint32_t height) {
  FrameState& state = frames_[frame];
  state.height = static_cast<std::uint8_t>(height);
  if (state.changed) return;
  state.changed = true;
  changed_[changed_count_++] = frame;
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
  for (const Frame frame : frames) frames_[frame].changed = frames_[frame].fresh = false;
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

Result PageCache::write_reachable(std::span<const Frame> frames) {
  if (const Result result = store_.write_roots(); !ok(result)) return result;
  while (!frames.empty() && !frames_[frames.front()].changed) frames = frames.subspan(1);
  const Result result = write_frames(frames);
  return ok(result) ? store_.write_released() : result;
}

Result PageCache::write_changed() {
  Frame* const begin = changed_.get();
  Frame* end = begin + changed_count_;
  end = std::partition(begin, end, [&](Frame frame) {
    if (frames_[frame].page != 0) return true;
    frames_[frame].changed = frames_[frame].fresh = false;  // abandoned
    return false;
  });
  Frame* const old = std::partition(begin, end, [&](Frame f) { return frames_[f].fresh; });
  std::sort(begin, old, [&](Frame a, Frame b) { return frames_[a].page < frames_[b].page; });
  std::sort(old, end, [&](Frame a, Frame b) {
    const FrameState& x = frames_[a];
    const FrameState& y = frames_[b];
    return x.height != y.height ? x.height > y.height : x.page < y.page;
  });
  // What the file relies on, cut short, is worse than a late success.
  Result result = store_.write_taken();
  if (!ok(result)) result = store_.write_taken();
  if (ok(result)) result = write_frames({begin, old});
  if (ok(result)) {
    result = write_reachable({old, end});
    if (!ok(result)) result = write_reachable({old, end});
  }
  const auto left = std::remove_if(begin, end, [&](Frame f) { return !frames_[f].changed; });
  changed_count_ = static_cast<std::uint32_t>(left - begin);
  return result;
}

void PageCache::drop_all() {
  for (std::uint32_t i = 0; i < listed_count_; ++i) {
    forget(listed_[i]);
    frames_[listed_[i]] = {};
  }
  listed_count_ = hand_ = changed_count_ = 0;
}

}  // namespace vqdb::index
