// An open NDX file: one B-tree over one table. The operations are in ndx_open.h (create, open,
// close, copy), ndx_keys.h (searching and changing) and ndx_sharing.h (locks, other processes).
#ifndef VQDBSYS_INDEX_NDX_FILE_H_
#define VQDBSYS_INDEX_NDX_FILE_H_

#include <cstdint>
#include <string_view>

#include "frame/handle_pool.h"
#include "frame/result.h"
#include "index/ndx_header.h"
#include "index/page_cache.h"
#include "index/tree.h"
#include "platform/file.h"
#include "platform/memory.h"

namespace vqdb::index {

// What every index handle is.
class Index : public HandleHead {};

enum class PositionState : std::uint16_t {
  positioned = 0,
  unset = 65533,  // after open, and after a search that found nothing
  end = 65534,    // past the last key
  start = 65535,  // before the first key
};

// The position. Stepping goes on from the anchor; the path to it is a hint that holds as long as
// the tree does not change, and is found again from key and record number.
struct Cursor {
  enum class Anchor : std::uint8_t {
    none,  // stepping starts at either end
    start,
    end,
    entry,  // at the entry with key and recno
    gap,    // before that entry: where one was removed
  };

  PositionState state = PositionState::unset;
  Anchor anchor = Anchor::none;
  bool path_holds = false;
  std::uint32_t recno = 0;
  std::int64_t leaves_passed = 0;  // forward less backward, since the last search
  platform::Bytes key;
  Path path;
};

// The file with the part of its header that changes.
class NdxStore final : public HeaderWriter, public PageSource {
 public:
  NdxStore(VqBlock& block, PageCache& cache) : block_(block), cache_(cache) {}

  platform::File& file() { return file_; }
  PageNumber root() const { return root_; }
  // The values of a header that was just read, in a file of this many pages, which is at least
  // the header's number. New pages go behind both.
  void set(PageNumber root, PageNumber next_free, PageNumber pages_in_file);
  PageNumber pages_in_file() const { return pages_in_file_; }

  Result write_header() override;
  Result take(std::span<PageNumber> pages) override;
  void release(PageNumber) override {}  // pages of an NDX file are never used again
  void move_root(PageNumber page) override;

 private:
  VqBlock& block_;
  PageCache& cache_;
  platform::File file_;
  PageNumber root_ = 0;
  PageNumber next_free_ = 0;
  PageNumber pages_in_file_ = 0;
  bool changed_ = false;
};

class NdxFile : public Index {
 public:
  explicit NdxFile(VqBlock& owner)
      : store(owner, cache),
        cache(owner, store.file(), store, kNdxPageBytes, kNdxPageBytes),
        tree(owner, cache, store) {}

  bool is_shared() const { return (mode & open_mode::kShared) != 0; }
  bool is_read_only() const { return (mode & open_mode::kReadOnly) != 0; }
  std::size_t key_length() const { return tree.layout().key_length; }
  std::string_view expression() const {
    return {reinterpret_cast<const char*>(text.get()), expression_length};
  }

  std::uint32_t mode = 0;
  std::uint32_t scheme = 0;  // of the table's locks
  std::uint16_t flags = 0;   // header byte 8, or ndx_flag::kNdx3
  char key_type = 0;
  Byte unique = 0;  // header byte 23
  Byte byte20 = 0;  // header byte 20, kept as it is
  platform::FileIdentity identity;
  std::uint32_t brackets = 0;    // of enter() and leave() that are open
  bool lock_is_callers = false;  // taken by lock_index_file
  bool lock_lingers = false;     // could not be given back after an operation
  bool stale = false;            // memory and file may differ: refresh before the next operation
  std::uint32_t changes = 0;     // keys inserted and removed
  std::size_t expression_length = 0;
  platform::Bytes text;
  Cursor cursor;
  NdxStore store;
  PageCache cache;
  Tree tree;
};

HandlePool<NdxFile>& ndx_files();

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_FILE_H_
