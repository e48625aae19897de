// Builds a B-tree from entries that come in order: leaves are filled one after the other, and each
// full page hands its last key up. Pages get their numbers from the store in the order in which
// they are finished, and go to the file past any cache.
#ifndef VQDBSYS_INDEX_TREE_PAGE_POUR_H_
#define VQDBSYS_INDEX_TREE_PAGE_POUR_H_

#include <array>
#include <cstdint>
#include <vector>

#include "frame/result.h"
#include "index/tree/page.h"
#include "index/tree/page_store.h"
#include "index/tree/tree.h"
#include "platform/file.h"
#include "platform/memory.h"

namespace vqdb::index {

// The store of a file that is being made: its pages follow one another.
class NewFileStore final : public PageStore {
 public:
  NewFileStore(VqBlock& block, const PageGrid& grid)
      : block_(block), grid_(grid), next_(grid.first) {}

  Result take(std::span<PageNumber> pages) override;
  void release(PageNumber) override {}
  // The first page that was not taken.
  PageNumber next() const { return next_; }

 private:
  VqBlock& block_;
  const PageGrid grid_;
  PageNumber next_;
};

class PagePour {
 public:
  PagePour(VqBlock& block, platform::File& file, const PageLayout& layout, const PageGrid& grid,
           PageStore& store)
      : block_(block), file_(file), layout_(layout), grid_(grid), store_(store) {}

  Result start();
  Result add(std::uint32_t recno, const Byte* key);
  // Writes what is left; an empty index is one empty leaf.
  Result finish(PageNumber& root);

 private:
  // A level of the tree: the page being filled, and the one finished before it, which gives a child
  // up when the last page of the level would be left with a single one.
  struct Level {
    platform::Bytes images;                         // current, previous
    std::array<Byte, kMaxKeyLength> last_key = {};  // of the current page's trailing child
    PageNumber previous_number = 0;
    bool has_child = false;
  };

  Page current(Level& level) { return Page(layout_, level.images.get()); }
  Page previous(Level& level) { return Page(layout_, level.images.get() + layout_.page_bytes); }
  Result add_level();
  Result add_child(std::size_t level, PageNumber child, const Byte* last_key);
  Result mend_last_page(std::size_t level);
  Result emit(Level& level, PageNumber& number);
  Result write_buffer();
  Result write_at(PageNumber page, const Byte* bytes, std::size_t size);

  VqBlock& block_;
  platform::File& file_;
  const PageLayout layout_;
  const PageGrid grid_;
  PageStore& store_;
  std::vector<Level> levels_;  // the leaves first
  platform::Bytes buffer_;     // pages that follow one another in the file
  PageNumber buffer_start_ = 0;
  std::size_t buffer_bytes_ = 0;
  std::size_t used_ = 0;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_PAGE_POUR_H_
