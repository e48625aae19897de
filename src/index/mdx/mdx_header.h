// The first 48 bytes of an MDX file, as bytes and as values. Pages are numbered in units of 512
// bytes; a block, the unit of tag headers, tree pages and the free list, is several such pages.
#ifndef VQDBSYS_INDEX_MDX_MDX_HEADER_H_
#define VQDBSYS_INDEX_MDX_MDX_HEADER_H_

#include <array>
#include <cstdint>
#include <string_view>

#include "convert/calendar.h"
#include "index/tree/page.h"

namespace vqdb::index {

inline constexpr std::uint32_t kMdxUnitBytes = 512;
inline constexpr PageNumber kFirstMdxBlock = 4;  // behind header and tag table
inline constexpr std::uint32_t kMaxTags = 47;
inline constexpr std::size_t kMdxHeaderBytes = 48;
inline constexpr std::size_t kMdxMarkAt = 27;
inline constexpr std::size_t kTagsAt = 28;
inline constexpr std::size_t kMdxPagesAt = 32;
// A free block names the next one here; 0 ends the list.
inline constexpr std::size_t kFreeLinkAt = 4;

using MdxHeaderBytes = std::array<Byte, kMdxHeaderBytes>;

struct MdxHeader {
  std::uint32_t block_pages = 2;  // 2..32
  bool production = false;        // the table's own index
  std::uint32_t tags = 0;
  PageNumber pages = kFirstMdxBlock;  // in the file
  PageNumber first_free = 0;
  std::uint32_t free_blocks = 0;
  bool unfinished = false;  // a redo log stands behind the last page

  std::uint32_t block_bytes() const { return block_pages * kMdxUnitBytes; }
  // Whether a whole block lies at this page.
  bool holds_block(PageNumber page) const {
    return page >= kFirstMdxBlock && page < pages && pages - page >= block_pages;
  }
};

// The bytes of a new file for a table of this base name, which is cut to 16 characters.
MdxHeaderBytes new_mdx_header(std::string_view table_name, const MdxHeader& header,
                              const convert::Date& today);

// Writes the values that change as a file is used; the other bytes stay.
void store_mdx_header(const MdxHeader& header, const convert::Date& today, MdxHeaderBytes& bytes);

// False when the bytes cannot head a file of this many pages: another version, sizes that
// contradict each other, more tags than a table holds, more pages than the file has, a free list
// that begins outside of it.
bool parse_mdx_header(const MdxHeaderBytes& bytes, std::uint64_t pages_in_file, MdxHeader& header);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_MDX_HEADER_H_
