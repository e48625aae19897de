// The pages of a B-tree as they lie in the file: each reachable once, leaves on one level, counts
// and order as they have to be; and its entries from the first to the last.
#ifndef VQDBSYS_CHECK_TREE_CHECK_H_
#define VQDBSYS_CHECK_TREE_CHECK_H_

#include <array>
#include <cstdint>
#include <vector>

#include "check/chunk_reader.h"
#include "check/findings.h"
#include "index/tree/page.h"
#include "index/tree/tree.h"

namespace vqdb::check {

// Of the reader that a tree is walked through.
inline constexpr std::size_t kTreeChunks = 64;

struct TreeShape {
  index::PageLayout layout;
  const index::KeyOrder* order = nullptr;
  bool unique = false;
  index::PageNumber root = 0;
  std::uint32_t unit_bytes = 0;      // pages are numbered in units of so many bytes
  index::PageNumber first_page = 0;  // that a tree can have
  index::PageNumber page_end = 0;    // behind the last one that the file has
  const char* name = nullptr;        // of the tag
};

// Which pages of a file something leads to.
class PageUse {
 public:
  PageUse(index::PageNumber first, index::PageNumber end) : first_(first), used_(end, false) {}

  // False when any of these pages is in use. REQUIRES that the file has them.
  bool take(index::PageNumber page, std::uint32_t count);
  bool is_taken(index::PageNumber page) const { return used_[page]; }
  // Pages that were never taken.
  std::uint64_t left() const;

 private:
  const index::PageNumber first_;
  std::vector<bool> used_;
};

class EntrySink {
 public:
  virtual Result take(const Byte* key, std::uint32_t recno, index::PageNumber page) = 0;

 protected:
  ~EntrySink() = default;
};

class TreeCheck {
 public:
  TreeCheck(VqBlock& block, ChunkReader& reader, FileFindings& findings, const TreeShape& shape)
      : block_(block), reader_(reader), findings_(findings), shape_(shape) {}

  // Looks at every page. Entries for records above `records` are findings; sound means that the
  // entries can be read in order.
  Result check_pages(PageUse& use, std::uint32_t records, bool& sound);
  // Hands out the entries. REQUIRES that the pages were found sound.
  Result walk(EntrySink& sink);

 private:
  Result start();
  Result visit(index::PageNumber number, std::size_t level, const Byte* high);
  Result visit_children(index::Page page, index::PageNumber number, std::size_t level,
                        const Byte* high);
  Result visit_entries(index::Page page, index::PageNumber number, std::size_t level,
                       const Byte* high);
  Result check_entry(const Byte* key, std::uint32_t recno, index::PageNumber number);
  Result is_leftover(index::PageNumber child, std::size_t level, const Byte* high, bool& yes);
  Result load(index::PageNumber number, std::size_t level);
  bool is_page(index::PageNumber number) const;
  std::uint32_t units() const { return shape_.layout.page_bytes / shape_.unit_bytes; }
  int compare(const Byte* a, const Byte* b) const {
    return shape_.order->compare(a, b, shape_.layout.key_length);
  }
  index::Page page_at(std::size_t level) {
    return index::Page(shape_.layout, pages_.get() + level * shape_.layout.page_bytes);
  }
  // A finding; those that keep the entries from being read make the tree unsound.
  void add(std::int32_t code, index::PageNumber number, const std::string& text);
  void refuse(std::int32_t code, index::PageNumber number, const std::string& text);

  VqBlock& block_;
  ChunkReader& reader_;
  FileFindings& findings_;
  const TreeShape shape_;
  platform::Bytes pages_;  // one for each level, and one to look ahead
  PageUse* use_ = nullptr;
  EntrySink* sink_ = nullptr;
  std::uint32_t records_ = 0;
  bool sound_ = true;
  std::size_t leaf_level_ = SIZE_MAX;
  bool has_low_ = false;
  bool has_last_ = false;
  std::array<Byte, index::kMaxKeyLength> low_ = {};  // the separator passed last
  std::array<Byte, index::kMaxKeyLength> last_ = {};
};

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_TREE_CHECK_H_
