// An open NDX file: an index file with one tree over one table.
#ifndef VQDBSYS_INDEX_NDX_NDX_FILE_H_
#define VQDBSYS_INDEX_NDX_NDX_FILE_H_

#include <cstdint>
#include <string_view>

#include "frame/handle_pool.h"
#include "frame/result.h"
#include "index/ndx/ndx_header.h"
#include "index/open/index_file.h"
#include "index/open/key_tree.h"
#include "platform/memory.h"

namespace vqdb::index {

// The file with the part of its header that changes.
class NdxStore final : public IndexFile {
 public:
  NdxStore(VqBlock& owner, Tree& tree) : IndexFile(owner, kNdxPageGrid), tree_(tree) {}

  // The front of a header that was just read, in a file of this many pages; new pages go behind
  // those and the header's. 0 when that is not known yet.
  void set(const NdxRootBytes& head, PageNumber pages_in_file);

  Result take(std::span<PageNumber> pages) override;
  void release(PageNumber) override {}  // pages of an NDX file are never used again
  bool has_changes() const override { return has_grown_ || tree_.root_moved(); }
  PageNumber file_end() const override { return pages_in_file_; }
  Result write_header(bool unfinished) override;
  std::uint64_t mark_offset() const override { return kNdxMarkAt; }

 private:
  Result read_headers(bool& unfinished) override;

  Tree& tree_;
  NdxRootBytes head_ = {};
  PageNumber next_free_ = 0;
  PageNumber pages_in_file_ = 0;
  bool has_grown_ = false;
};

// How many pages the file has, of which its header counts these; a log behind them is none.
// Details 10192 (not read), 10193 (fewer than counted).
Result count_ndx_pages(VqBlock& block, platform::File& file, PageNumber counted, PageNumber& pages);

class NdxFile : public Index {
 public:
  explicit NdxFile(VqBlock& owner) : file(owner, keys.tree), keys(file, kKeys) {
    stand_for(file, &keys);
  }

  std::string_view expression() const {
    return {reinterpret_cast<const char*>(text.get()), expression_length};
  }

  std::uint16_t flags = 0;  // header byte 8, or ndx_flag::kNdx3
  Byte byte20 = 0;          // header byte 20, kept as it is
  std::size_t expression_length = 0;
  platform::Bytes text;
  NdxStore file;
  KeyTree keys;

 private:
  static constexpr KeyOperations kKeys = {.put = {316},
                                          .remove = {321},
                                          .update = {331},
                                          .find = {309},
                                          .current = {304},
                                          .next = {320},
                                          .previous = {317}};
};

HandlePool<NdxFile>& ndx_files();

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_NDX_FILE_H_
