// The pages of one change, held in their buffers until the change is complete or given up.
#ifndef VQDBSYS_INDEX_PINS_H_
#define VQDBSYS_INDEX_PINS_H_

#include <array>

#include "index/page_cache.h"
#include "index/tree.h"

namespace vqdb::index {

// The most pages that one change of a tree of this depth holds: in a removal, on every level a
// page, its neighbour and its successor, and the page whose separator changes.
constexpr std::uint32_t most_pins(std::uint32_t depth) { return 3 * depth + 2; }

class Pins {
 public:
  explicit Pins(PageCache& cache) : cache_(cache) {}
  ~Pins() {
    while (count_ > 0) cache_.unpin(frames_[--count_]);
  }
  Pins(const Pins&) = delete;
  Pins& operator=(const Pins&) = delete;

  void hold(PageCache::Frame frame) {
    cache_.pin(frame);
    frames_[count_++] = frame;
  }

 private:
  PageCache& cache_;
  std::array<PageCache::Frame, most_pins(kMaxDepth)> frames_;
  std::size_t count_ = 0;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_PINS_H_
