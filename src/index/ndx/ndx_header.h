// The header page of an NDX file, as bytes and as values.
#ifndef VQDBSYS_INDEX_NDX_NDX_HEADER_H_
#define VQDBSYS_INDEX_NDX_NDX_HEADER_H_

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "index/tree/page_store.h"

namespace vqdb::index {

inline constexpr std::uint32_t kNdxPageBytes = 512;
inline constexpr PageGrid kNdxPageGrid = {kNdxPageBytes, kNdxPageBytes, 1, true};
inline constexpr std::size_t kMaxNdxExpression = 240;
inline constexpr std::uint32_t kMaxNdxTextKey = 100;
inline constexpr std::uint32_t kNdxEntryHead = 8;  // child page and record number before the key
// Root page and next free page, which change as an index grows, up to the mark of an unfinished
// flush.
inline constexpr std::size_t kNdxRootBytes = 11;

inline constexpr std::size_t kNdxMarkAt = 10;

using NdxRootBytes = std::array<Byte, kNdxRootBytes>;
using NdxPageBytes = std::array<Byte, kNdxPageBytes>;

namespace ndx_flag {
inline constexpr Byte kUnique = 0x40;
inline constexpr Byte kUniqueNdx3 = 1;
// The handle flags of a file in the dBASE III form.
inline constexpr std::uint16_t kNdx3 = 0x8000;
}  // namespace ndx_flag

struct NdxHeader {
  PageNumber root = 1;
  PageNumber next_free = 2;  // the number of pages in the file
  std::uint16_t flags = 0;   // header byte 8, or kNdx3
  char key_type = 'C';       // C, D, F or N
  std::uint32_t key_length = 0;
  std::uint32_t max_keys = 0;
  std::uint32_t stride = 0;
  Byte byte20 = 2;
  bool numeric = false;  // header byte 16: numbers and dates
  Byte unique = 0;          // header byte 23
  bool unfinished = false;  // a redo log stands behind the last page
  std::string_view expression;

  // False also when its two places disagree, of which the dBASE III form has one.
  bool says_unique_throughout() const {
    return unique != 0 && (is_ndx3() || (flags & ndx_flag::kUnique) != 0);
  }
  bool is_ndx3() const { return flags == ndx_flag::kNdx3; }
  PageLayout layout() const {
    return {.page_bytes = kNdxPageBytes,
            .left_at = 0,
            .entries_at = 4,
            .recno_at = 4,
            .key_at = kNdxEntryHead,
            .stride = stride,
            .key_length = key_length,
            .max_keys = max_keys};
  }
};

// The header of a new file. REQUIRES a key length of 1..kMaxNdxTextKey and an expression of at most
// kMaxNdxExpression characters.
NdxHeader new_ndx_header(bool is_ndx3, char key_type, std::uint32_t key_length, bool unique,
                         std::string_view expression);

// Fills a zeroed page.
void format_ndx_header(const NdxHeader& header, NdxPageBytes& page);

// The part of the header that changes; the bytes between keep what they hold.
void store_ndx_root(PageNumber root, PageNumber next_free, bool unfinished, NdxRootBytes& bytes);
void load_ndx_root(const NdxRootBytes& bytes, PageNumber& root, PageNumber& next_free,
                   bool& unfinished);

// The values of a page, whatever they are. The expression is a view of the page.
NdxHeader decode_ndx_header(const NdxPageBytes& page);

// False when the page cannot head an NDX file: a key length that its type does not allow, entries
// that do not fit their stride or the page, a root outside the file.
bool parse_ndx_header(const NdxPageBytes& page, NdxHeader& header);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_NDX_HEADER_H_
