// What an index file is to its page cache and its trees: where page numbers come from, and who
// writes the headers. One store serves all trees of a file.
#ifndef VQDBSYS_INDEX_TREE_PAGE_STORE_H_
#define VQDBSYS_INDEX_TREE_PAGE_STORE_H_

#include <cstdint>
#include <span>

#include "frame/result.h"
#include "index/tree/page.h"
#include "index/tree/redo_log.h"

namespace vqdb::index {

// Pages are page_bytes long, numbered in units of unit_bytes from the start of the file; the first
// page of any tree is `first`.
struct PageGrid {
  std::uint32_t unit_bytes;
  std::uint32_t page_bytes;
  PageNumber first;
  bool has_only_pages = false;  // from the first one on, each for good

  PageNumber step() const { return page_bytes / unit_bytes; }
};

class PageStore {
 public:
  // After bytes were read that were not in memory: whether they belong to what is there. Where they
  // do not the operation has to fail.
  virtual bool holds_still() { return true; }

  // Under the file's lock, before a tree with pages from here is used: its root is the file's.
  virtual Result prepare() { return Result::ok; }

  // Numbers for this many new pages, all or none.
  virtual Result take(std::span<PageNumber> pages) = 0;
  // The page is in no tree any more. In the file it still is until the next flush is complete, so
  // its number is not taken again before.
  virtual void release(PageNumber page) = 0;
  // Before anything is written into taken pages past the cache: no list of free pages has them.
  virtual Result write_taken() { return Result::ok; }

  // The headers' part in a flush, which page_cache.h describes.
  //
  // Whether roots, the number of pages or the free ones are others than the file says.
  virtual bool has_changes() const { return false; }
  // Pages from this one on are not in the file.
  virtual PageNumber file_end() const { return 0; }
  // Adds what changes beside pages and the header: roots that stand elsewhere, links of free pages.
  // False without memory.
  virtual bool log_changes(RedoLog&) { return true; }
  // Writes the header as it is to be, in one step; with the mark of an unfinished flush, or
  // without. From then on what log_changes() has added counts as written.
  virtual Result write_header(bool) { return Result::ok; }
  // Where in the file the mark is, a byte.
  virtual std::uint64_t mark_offset() const { return 0; }

 protected:
  ~PageStore() = default;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_TREE_PAGE_STORE_H_
