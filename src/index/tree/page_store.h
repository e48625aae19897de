// What an index file is to its page cache and its trees: where page numbers come from, and who
// writes the headers. One store serves all trees of a file.
#ifndef VQDBSYS_INDEX_TREE_PAGE_STORE_H_
#define VQDBSYS_INDEX_TREE_PAGE_STORE_H_

#include <cstdint>
#include <span>

#include "frame/result.h"
#include "index/tree/page.h"

namespace vqdb::index {

// Pages are page_bytes long, numbered in units of unit_bytes from the start of the file; the first
// page of any tree is `first`.
struct PageGrid {
  std::uint32_t unit_bytes;
  std::uint32_t page_bytes;
  PageNumber first;

  PageNumber step() const { return page_bytes / unit_bytes; }
};

class PageStore {
 public:
  // Under the file's lock, before a tree with pages from here is used: its root is the file's.
  virtual Result prepare() { return Result::ok; }

  // Numbers for this many new pages, all or none.
  virtual Result take(std::span<PageNumber> pages) = 0;
  // The page is in no tree any more. In the file it still is until the pages that lead to it are
  // written, so its number is not taken again before write_released() has come.
  virtual void release(PageNumber page) = 0;

  // The headers' part in writing what has changed, in the order that page_cache.h gives. Nothing to
  // do is ok; what could not be written is written by the next call.
  //
  // Before anything is written into taken pages: no list of free pages has them any more.
  virtual Result write_taken() { return Result::ok; }
  // Before changed pages: the roots of the trees, and how many pages there are.
  virtual Result write_roots() = 0;
  // After the pages that let go of them: released pages are free, the head of their list last.
  virtual Result write_released() { return Result::ok; }

 protected:
  ~PageStore() = default;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_PAGE_STORE_H_
