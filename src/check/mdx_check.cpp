#include "check/mdx_check.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "check/operations.h"
#include "expr/expression.h"
#include "index/mdx/mdx_header.h"
#include "index/mdx/mdx_tag.h"
#include "index/mdx/tag_header.h"
#include "index/mdx/tag_table.h"

namespace vqdb::check {
namespace {

using index::kMdxUnitBytes;
using index::MdxHeader;
using index::PageNumber;
using index::TagEntry;
using index::TagHeader;

// The head of a file, where it can be one.
Result read_head(HeldFile& file, FileFindings* findings, index::MdxHeadBytes& bytes,
                 std::optional<MdxHeader>& header) {
  const auto add = [&](std::int32_t code, const char* text) {
    if (findings != nullptr) findings->add(code, {}, text);
  };
  if (file.size() < bytes.size()) {
    add(VQ_F_INDEX_SHORT, "The file is shorter than header and tag table.");
    return Result::ok;
  }
  if (const Result result = file.read(0, bytes.data(), bytes.size()); !ok(result)) return result;
  index::MdxHeaderBytes front;
  std::copy_n(bytes.begin(), front.size(), front.begin());
  MdxHeader read;
  if (index::parse_mdx_header(front, file.size() / kMdxUnitBytes, read)) {
    header = read;
  } else {
    add(VQ_F_INDEX_HEADER, "No MDX file of this size has such a header.");
  }
  return Result::ok;
}

class MdxPass {
 public:
  MdxPass(HeldFile& file, const IndexedTable& table, FileFindings& findings, Progress& progress,
          const MdxHeader& header)
      : block_(file.block()),
        table_(table),
        findings_(findings),
        progress_(progress),
        header_(header),
        reader_(file),
        use_(index::kFirstMdxBlock, header.pages) {}

  Result run(const index::TagTableBytes& bytes) {
    Result result = reader_.start(kTreeChunks);
    for (std::uint32_t number = 1; number <= header_.tags; ++number) {
      if (ok(result)) result = check_tag(index::decode_tag_entry(bytes, number), number);
    }
    if (!index::threads_hold(bytes, header_.tags)) {
      findings_.add(VQ_F_TAG_THREADS, {.offset = index::kTagTableAt},
                    "The threads of the tag table do not lead to the tags in order.");
    }
    if (ok(result)) result = walk_free_list();
    if (ok(result) && sound_ && use_.left() != 0) {
      findings_.add(VQ_F_PAGES_LOST, {},
                    numbered("Nothing leads to ", use_.left(), " pages of 512 bytes."));
    }
    return result;
  }

 private:
  Result check_tag(const TagEntry& entry, std::uint32_t number) {
    const Place place = {.offset = index::tag_entry_offset(number), .name = entry.name.data()};
    const auto named = [&](const TagEntry& other) { return other.name == entry.name; };
    if (entry.name[0] == '\0' || std::any_of(tags_.begin(), tags_.end(), named)) {
      findings_.add(VQ_F_TAG_TABLE, place, "A tag has no name, or that of another one.");
    }
    tags_.push_back(entry);
    if (!header_.holds_block(entry.header_page)) {
      findings_.add(VQ_F_TAG_TABLE, place, "The header of a tag lies outside the file.");
      sound_ = false;
      return Result::ok;
    }
    if (!use_.take(entry.header_page, header_.block_pages)) {
      findings_.add(VQ_F_TAG_TABLE, place, "The header of a tag is in use by another one.");
      sound_ = false;
      return Result::ok;
    }
    return check_tree(entry);
  }

  Result check_tree(const TagEntry& entry) {
    std::vector<Byte> block(header_.block_bytes());
    const std::uint64_t offset = std::uint64_t{entry.header_page} * kMdxUnitBytes;
    const Result read = reader_.read(offset, block.data(), block.size());
    if (!ok(read)) return read;
    const Place place = {.offset = offset, .page = entry.header_page, .name = entry.name.data()};
    TagHeader tag;
    if (!index::parse_tag_header(block, header_, tag)) {
      findings_.add(VQ_F_TAG_HEADER, place, "No tag has such a header.");
      sound_ = false;
      return Result::ok;
    }
    if (!index::is_uniqueness_agreed(block)) {
      findings_.add(VQ_F_INDEX_FLAGS, place,
                    "The header says in one place that keys are unique, in another that not.");
    }
    const KeyTree tree = {.shape = {.layout = tag.layout(header_.block_bytes()),
                                    .order = &index::tag_key_order(block_, tag.format),
                                    .unique = tag.format.unique,
                                    .root = tag.root,
                                    .unit_bytes = kMdxUnitBytes,
                                    .first_page = index::kFirstMdxBlock,
                                    .page_end = header_.pages,
                                    .name = entry.name.data()},
                          .family = index::IndexFamily::mdx,
                          .descending = tag.format.descending,
                          .key_type = tag.format.key_type,
                          .run_options = expr::run_option::kKey | expr::run_option::kTagKey,
                          .key = std::string(tag.key),
                          .filter = std::string(tag.filter)};
    bool sound = false;
    const Result result =
        check_key_tree(block_, reader_, tree, use_, table_, findings_, progress_, sound);
    sound_ = sound_ && sound;
    return result;
  }

  Result walk_free_list() {
    for (PageNumber page = header_.first_free; page != 0;) {
      const bool holds = header_.holds_block(page);
      if (!holds || !use_.take(page, header_.block_pages)) {
        findings_.add(VQ_F_FREE_LIST, {.offset = std::uint64_t{page} * kMdxUnitBytes, .page = page},
                      holds ? "A block of the free list is in use, or in the list twice."
                            : "The free list leads out of the file.");
        sound_ = false;
        return Result::ok;
      }
      std::array<Byte, 4> link;
      const Result result = reader_.read(std::uint64_t{page} * kMdxUnitBytes + index::kFreeLinkAt,
                                         link.data(), link.size());
      if (!ok(result)) return result;
      page = load_le32(link.data());
    }
    return Result::ok;
  }

  VqBlock& block_;
  const IndexedTable& table_;
  FileFindings& findings_;
  Progress& progress_;
  const MdxHeader header_;
  ChunkReader reader_;
  PageUse use_;
  std::vector<TagEntry> tags_;
  bool sound_ = true;  // every page can be told to be in use or not
};

}  // namespace

Result count_tags(HeldFile& file, std::uint32_t& tags) {
  index::MdxHeadBytes bytes;
  std::optional<MdxHeader> header;
  const Result result = read_head(file, nullptr, bytes, header);
  tags = header ? header->tags : 0;
  return result;
}

Result check_mdx(HeldFile& file, const IndexedTable& table, FileFindings& findings,
                 Progress& progress) {
  index::MdxHeadBytes bytes;
  std::optional<MdxHeader> header;
  const Result result = read_head(file, &findings, bytes, header);
  if (!ok(result) || !header) return result;
  if (header->unfinished) {
    const Result completed = complete_index(file, findings, header->pages);
    if (!ok(completed)) return completed;
  }
  index::TagTableBytes tags;
  std::copy_n(bytes.begin() + index::kTagTableAt, tags.size(), tags.begin());
  return MdxPass(file, table, findings, progress, *header).run(tags);
}

}  // namespace vqdb::check
