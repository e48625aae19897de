// The pages of one change, held in their buffers until the change is complete or given up.
#ifndef VQDBSYS_INDEX_TREE_PINS_H_
#define VQDBSYS_INDEX_TREE_PINS_H_

#include <array>

#include "index/tree/page_cache.h"
#include "index/tree/tree.h"

namespace vqdb::index {

// The most pages that one change of a tree holds: in a removal, on every level a page, its
// neighbour and its successor, and the page whose separator changes.
inline constexpr std::uint32_t kMostPins = 3 * kMaxDepth + 2;

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
  std::array<PageCache::Frame, kMostPins> frames_;
  std::size_t count_ = 0;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_PINS_H_
