// The page buffers of an index file: a fixed number of page images in one slab, given up least
// recently used first (by second chance). Every page has a home buffer, told by its number alone,
// and is kept there when it is free, so that a look-up mostly knows the image's address without
// waiting for a table; only pages away from home are looked up by hash.
//
// Changed pages are written together, so that the tree in the file is whole wherever the writing
// stops. A change of entries within a leaf stands alone. Changes that hold only together - splits,
// pages that leave the tree, separators that follow a last key, with the roots and the free list -
// go by the redo log:
//
//   1. the log, behind the end that the file is to have,
//   2. pages behind the end that it has, which nothing in it leads to,
//   3. the header with the mark of an unfinished flush: from here on the log is as good as done,
//   4. what the log says,
//   5. the header without the mark,
//   6. leaves that changed alone; few of them go by the log as well.
//
// Therefore a changed page is never written alone: when one has to make room, all are written.
//
// With run-time flag 4 each of these steps reaches the device before the next one but 6 begins, and
// step 5 before the next log takes the place of this one: then a loss of power, after which the
// device may have any of the writes that it was not told to keep, is like a crash.
#ifndef VQDBSYS_INDEX_TREE_PAGE_CACHE_H_
#define VQDBSYS_INDEX_TREE_PAGE_CACHE_H_

#include <cstdint>
#include <span>

#include "frame/result.h"
#include "index/tree/page.h"
#include "index/tree/page_store.h"
#include "platform/file.h"
#include "platform/memory.h"

namespace vqdb::index {

class PageCache {
 public:
  // A buffer; valid until another page is asked for, or as long as it is pinned.
  using Frame = std::uint32_t;

  PageCache(VqBlock& block, platform::File& file, PageStore& store, const PageGrid& grid)
      : block_(block),
        file_(file),
        store_(store),
        grid_(grid),
        page_bytes_(grid.page_bytes),
        log_(grid.unit_bytes) {}
  PageCache(const PageCache&) = delete;
  PageCache& operator=(const PageCache&) = delete;

  // Takes memory for this many buffers. REQUIRES as many as one change can pin.
  bool allocate(std::uint32_t buffers);
  // Pages from this one on are not in the file. No number outside the file's pages is followed.
  void set_limit(PageNumber limit) { limit_ = limit; }
  PageNumber limit() const { return limit_; }
  const PageGrid& grid() const { return grid_; }

  // Where the page is kept when that buffer is free.
  Frame home_of(PageNumber page) const {
    const std::uint32_t place = page >> home_shift_;
    return place < buffers_ ? place : place % buffers_;
  }
  // The buffer that holds the page, read from the file when none does. REQUIRES page > 0.
  Result fetch(PageNumber page, Frame& frame) {
    return find_home(page, frame) ? Result::ok : fetch_away(page, frame);
  }
  // The same where the page's home holds it; otherwise false.
  bool find_home(PageNumber page, Frame& frame) {
    frame = home_of(page);
    if (frames_[frame].page != page) return false;
    frames_[frame].referenced = true;
    return true;
  }
  // Lets the processor fetch what a buffer holds before it is looked at. Inlined, since the
  // compiler takes a call of it for one without effect.
  [[gnu::always_inline]] void prefetch(Frame frame) const {
    const Byte* const image = images_.get() + std::size_t{frame} * page_bytes_;
    for (const Byte* line = image; line < image + page_bytes_; line += 4 * kCacheLine) {
      __builtin_prefetch(line);
      __builtin_prefetch(line + kCacheLine);
      __builtin_prefetch(line + 2 * kCacheLine);
      __builtin_prefetch(line + 3 * kCacheLine);
    }
  }
  // A buffer for a page that the file does not have yet; the image is zero.
  Result fetch_new(Frame& frame);
  // Gives the page in a buffer of fetch_new its number. What the cache has of an earlier page of
  // that number is forgotten.
  void name_new(Frame frame, PageNumber page, std::uint32_t height);

  Byte* image(Frame frame) { return images_.get() + std::size_t{frame} * page_bytes_; }

  void pin(Frame frame) { ++frames_[frame].pins; }
  void unpin(Frame frame) { --frames_[frame].pins; }

  // Entries of a leaf changed.
  void mark_changed(Frame frame);
  // The page changed together with others. The height is its distance from the leaves.
  void mark_joint(Frame frame, std::uint32_t height);
  // Forgets a page that no longer belongs to the tree.
  void abandon(Frame frame);

  // Where a mark could not be taken back, all is written and the next call does it.
  Result write_changed();
  // Whether the next call has anything to write.
  bool has_changes() const { return changed_count_ > 0 || unfinished_ || store_.has_changes(); }
  // Whether the mark of a flush of this cache stands in the file.
  bool is_unfinished() const { return unfinished_; }
  // The header has a mark that another cache has left: makes the writes of the log that it speaks
  // of, or, for reading only, has pages come out as if they were made. found is false when there
  // is no such log.
  Result take_up_log(bool for_reading, bool& found);
  void forget_log();
  // With run-time flag 4, has the device keep what is written before anything else is. Detail
  // 10194.
  Result keep_order();
  // Cuts off what logs of this cache have left behind the pages. REQUIRES that nobody else works on
  // the file.
  void cut_log();
  bool leaves_log() const { return leaves_log_; }
  // Reads bytes of the file past the buffers, as the log has them.
  platform::Outcome read_past(std::uint64_t offset, std::span<Byte> bytes);
  // Forgets every page, changed ones too.
  void drop_all();

 private:
  static constexpr std::size_t kCacheLine = 64;

  // Of the hash table of the pages away from home; page 0 is an empty one.
  struct Slot {
    PageNumber page;
    Frame frame;
  };
  struct FrameState {
    PageNumber page;  // 0: holds none
    std::uint8_t height;
    std::uint8_t pins;
    bool referenced;   // since the hand last passed
    bool listed : 1;   // is in the list of frames that may hold a page
    bool changed : 1;  // is in the list of changed frames
    bool fresh : 1;    // the file has no such page yet
    bool joint : 1;    // changed together with others
  };

  std::uint32_t hash(PageNumber page) const { return (page * 0x9E3779B1u) >> hash_shift_; }
  // The slot of the page, or the empty one where it would go.
  Slot* find(PageNumber page) const {
    std::uint32_t at = hash(page);
    while (slots_[at].page != page && slots_[at].page != 0) at = (at + 1) & slot_mask_;
    return &slots_[at];
  }
  void erase_slot(PageNumber page);

  Result fetch_away(PageNumber page, Frame& frame);
  Result load(PageNumber page, Frame& frame);
  struct PageRun {
    PageNumber first;
    std::uint32_t count;
  };
  // What is read with the page, which goes into this frame: frames follow one another as pages do.
  PageRun beside(PageNumber page, Frame frame);
  // Makes an empty frame the page's, in the hash table too where it is not the page's home.
  void take_in(Frame frame, PageNumber page);
  // An empty frame: the page's home where that is free, else the one that the hand finds.
  Result victim(PageNumber page, Frame& frame);
  bool find_victim(bool clean_only, Frame& frame);
  // Leaves the frame empty.
  void forget(Frame frame);
  Result write_run(std::span<const Frame> frames);
  Result write_frames(std::span<const Frame> frames);
  struct Parts {
    std::span<const Frame> added;
    std::span<const Frame> joint;
    std::span<const Frame> alone;
  };
  Parts divide_changed();
  // The pages behind the file's end, and those that changed together with others.
  Result write_together(std::span<const Frame> added, std::span<const Frame> joint);
  Result fill_log(std::span<const Frame> joint);
  Result write_log();
  Result commit_log(std::span<const Frame> joint);
  Result apply_log();
  Result finish_log();
  Result end_log();
  void settle(std::span<const Frame> frames);
  std::uint64_t offset_of(PageNumber page) const { return std::uint64_t{page} * grid_.unit_bytes; }

  VqBlock& block_;
  platform::File& file_;
  PageStore& store_;
  const PageGrid grid_;
  const std::uint32_t page_bytes_;

  RedoLog log_;
  PageNumber log_at_ = 0;    // where it begins in the file
  bool leaves_log_ = false;  // behind the pages, with nothing to say any more
  bool unfinished_ = false;  // the file has the mark, and what the log says may not be done
  bool is_kept_ = false;     // the device knows of no mark that is gone

  platform::Bytes images_;
  platform::Array<FrameState> frames_;
  platform::Array<Slot> slots_;
  platform::Array<Frame> listed_;
  platform::Array<Frame> changed_;
  PageNumber limit_ = 0;
  std::uint32_t buffers_ = 0;
  std::uint32_t loads_ = 0;  // since all pages were forgotten
  std::uint32_t hand_ = 0;
  std::uint32_t listed_count_ = 0;
  std::uint32_t changed_count_ = 0;
  std::uint32_t slot_mask_ = 0;
  std::uint32_t hash_shift_ = 0;
  std::uint32_t home_shift_ = 0;  // makes the numbers of neighbouring pages follow one another
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_PAGE_CACHE_H_
