#include "index/page_cache.h"

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
  nominal_buffers_ = buffers;
  return resize(buffers);
}

// Moves to storage of another size, with every page that it holds: all of them when it grows.
// REQUIRES that nothing is pinned, and nothing changed when it shrinks.
bool PageCache::resize(std::uint32_t buffers) {
  const std::uint32_t slots = std::bit_ceil(buffers + buffers / 3 + 1);
  auto images = platform::allocate_bytes(std::size_t{buffers} * page_bytes_);
  std::unique_ptr<FrameState[], Release> frames(
      static_cast<FrameState*>(platform::allocate(buffers * sizeof(FrameState))));
  std::unique_ptr<Slot[], Release> table(
      static_cast<Slot*>(platform::allocate(slots * sizeof(Slot))));
  std::unique_ptr<Frame[], Release> changed(
      static_cast<Frame*>(platform::allocate(buffers * sizeof(Frame))));
  if (images == nullptr || frames == nullptr || table == nullptr || changed == nullptr) {
    return false;
  }
  const std::uint32_t kept = std::min(used_, buffers);
  if (kept > 0) {
    std::copy_n(images_.get(), std::size_t{kept} * page_bytes_, images.get());
    std::copy_n(frames_.get(), kept, frames.get());
    std::copy_n(changed_.get(), changed_count_, changed.get());
  }
  images_ = std::move(images);
  frames_ = std::move(frames);
  slots_ = std::move(table);
  changed_ = std::move(changed);
  buffers_ = buffers;
  used_ = kept;
  hand_ = 0;
  slot_mask_ = slots - 1;
  hash_shift_ = 32 - static_cast<std::uint32_t>(std::countr_zero(slots));
  for (Frame frame = 0; frame < kept; ++frame) {
    if (frames_[frame].page != 0) insert_slot(frames_[frame].page, frame);
  }
  return true;
}

Result PageCache::load(PageNumber page, Frame& frame) {
  if (page >= limit_) return fail(block_, Result::page_error, kPages.detail(5));
  if (const Result result = victim(frame); !ok(result)) return result;
  const auto outcome = file_.read_exactly(offset_of(page), image(frame), page_bytes_);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kPages.detail(2));
  frames_[frame] = {.page = page, .height = 0, .pins = 0, .changed = false, .fresh = false};
  insert_slot(page, frame);
  return Result::ok;
}

Result PageCache::fetch_new(Frame& frame) {
  if (const Result result = victim(frame); !ok(result)) return result;
  std::fill_n(image(frame), page_bytes_, Byte{0});
  return Result::ok;
}

void PageCache::name_new(Frame frame, PageNumber page, std::uint32_t height) {
  frames_[frame].page = page;
  insert_slot(page, frame);
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
  erase_slot(frames_[frame].page);
  frames_[frame].page = 0;
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

void PageCache::empty(Frame frame) {
  if (frames_[frame].page != 0) erase_slot(frames_[frame].page);
  frames_[frame] = {};
}

// An empty buffer: one never used, or the first that the hand finds unused since it last passed.
Result PageCache::victim(Frame& frame) {
  if (used_ < buffers_) {
    frame = used_++;
    return Result::ok;
  }
  if (!find_victim(false, frame)) return fail(block_, Result::no_memory, kPages.detail(4));
  if (frames_[frame].changed) {
    const Result written = write_changed();
    // Where nothing can be written, reading still goes on as long as a clean buffer is left.
    if (!ok(written) && !find_victim(true, frame)) return written;
  }
  empty(frame);
  return Result::ok;
}

bool PageCache::find_victim(bool clean_only, Frame& frame) {
  for (std::uint32_t steps = 0; steps < 2 * buffers_; ++steps) {
    const Frame candidate = hand_;
    hand_ = hand_ + 1 == buffers_ ? 0 : hand_ + 1;
    const FrameState& state = frames_[candidate];
    if (state.pins > 0 || (clean_only && state.changed)) continue;
    if (state.page != 0) {
      Slot* const slot = find(state.page);
      if (slot->referenced != 0) {
        slot->referenced = 0;
        continue;
      }
    }
    frame = candidate;
    return true;
  }
  return false;
}

Result PageCache::make_room(std::uint32_t pages) {
  if (pages <= buffers_ || resize(pages)) return Result::ok;
  return fail(block_, Result::no_memory, kPages.detail(4));
}

void PageCache::settle() {
  if (buffers_ == nominal_buffers_) return;
  const std::int32_t detail = block_.detail;
  if (!ok(write_changed()) || !resize(nominal_buffers_)) block_.detail = detail;
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
  const PageNumber step = page_bytes_ / unit_;
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
  if (const Result result = header_.write_header(); !ok(result)) return result;
  while (!frames.empty() && !frames_[frames.front()].changed) frames = frames.subspan(1);
  return write_frames(frames);
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
  Result result = write_frames({begin, old});
  if (ok(result)) {
    result = write_reachable({old, end});
    // A page or a header cut short is worse than a late success.
    if (!ok(result)) result = write_reachable({old, end});
  }
  const auto left = std::remove_if(begin, end, [&](Frame f) { return !frames_[f].changed; });
  changed_count_ = static_cast<std::uint32_t>(left - begin);
  return result;
}

void PageCache::drop_all() {
  if (used_ == buffers_) {
    std::fill_n(slots_.get(), std::size_t{slot_mask_} + 1, Slot{});
  } else {
    for (Frame frame = 0; frame < used_; ++frame) {
      if (frames_[frame].page != 0) erase_slot(frames_[frame].page);
    }
  }
  std::fill_n(frames_.get(), used_, FrameState{});
  used_ = hand_ = changed_count_ = 0;
}

}  // namespace vqdb::index
