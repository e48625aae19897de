// An open MDX file below its tags: header, tag table and free list, and the handles that look at
// its trees.
//
// A page that leaves a tree goes to the free list, from which trees take their pages. A flush
// changes trees and list as one.
#ifndef VQDBSYS_INDEX_MDX_MDX_STORE_H_
#define VQDBSYS_INDEX_MDX_MDX_STORE_H_

#include <array>
#include <cstdint>
#include <vector>

#include "index/mdx/mdx_header.h"
#include "index/mdx/tag_table.h"
#include "index/open/index_file.h"

namespace vqdb::index {

class MdxTag;

// Header, what lies between, and tag table: the part in front of the first block.
inline constexpr std::size_t kMdxHeadBytes = kTagTableAt + kTagTableBytes;
using MdxHeadBytes = std::array<Byte, kMdxHeadBytes>;

// What the head of a file says, and how many pages the file has.
struct MdxHead {
  MdxHeadBytes bytes = {};
  MdxHeader header;
  TagTable tags;
  PageNumber pages_in_file = 0;
};

// Reads and checks the head. Details 10301 (not read), 10302 (no such header), 10303 (tag table).
// Pages that the file is known to have spare asking for its size.
Result read_mdx_head(VqBlock& block, platform::File& file, PageNumber known_pages, MdxHead& head);

class MdxStore final : public IndexFile {
 public:
  MdxStore(VqBlock& owner, const MdxHead& head);

  // Once attached: an unfinished flush is brought to its end. What stands behind the pages of a
  // shared file may be another process's flush, so the first bracket looks again.
  Result start();

  const MdxHeader& header() const { return head_.header; }
  const TagTable& tags() const { return head_.tags; }

  // The handles of the file's tags, one for a tag.
  MdxTag* first_tag() const { return first_tag_; }
  void attach_tag(MdxTag& tag);
  void detach_tag(MdxTag& tag);

  // A number that changes with the tags of the file and the definitions of the active ones. Outside
  // a bracket, where others may be changing them, 0 says that they seem to; so it does when they
  // cannot be read.
  std::uint32_t tag_state();
  void note_tag_change() { ++tag_changes_; }

  // Writes another tag table, and the production mark with it. The old one stays after a failure.
  // REQUIRES a bracket, and that nothing is left to write.
  Result write_tags(const TagTable& tags, bool production);

  Result take(std::span<PageNumber> pages) override;
  void release(PageNumber page) override;
  Result write_taken() override;
  bool has_changes() const override;
  PageNumber file_end() const override { return file_end_; }
  bool log_changes(RedoLog& log) override;
  Result write_header(bool unfinished) override;
  std::uint64_t mark_offset() const override { return kMdxMarkAt; }

 private:
  Result read_headers(bool& unfinished) override;
  void adopt();
  Result store_header(const MdxHeader& header);
  Result reach_end();
  Result read_link(PageNumber page, PageNumber& next);
  Result check_free_list();
  Result walk_free_list(const std::vector<bool>& tags);
  Result mark_trees(std::vector<bool>& pages);
  Result mark_tree(const TagEntry& entry, std::vector<bool>& pages);

  MdxHead head_;
  PageNumber file_end_ = 0;
  PageNumber end_ = 0;  // where new blocks go, behind the header's pages and the file's
  MdxTag* first_tag_ = nullptr;
  std::vector<PageNumber> released_;  // since the head of the free list was written
  bool list_is_checked_ = false;
  bool head_passed_ = false;  // blocks of the list were taken, and the file does not know
  std::uint32_t tag_changes_ = 1;
  bool has_grown_ = false;  // blocks behind the header's pages were taken
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_MDX_STORE_H_
