// The header block of a tag, as bytes and as values: where its tree begins, what its keys look
// like, and the expressions that give a record's key and say which records have one.
#ifndef VQDBSYS_INDEX_MDX_TAG_HEADER_H_
#define VQDBSYS_INDEX_MDX_TAG_HEADER_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "index/keys/key_order.h"
#include "index/mdx/mdx_header.h"
#include "index/tree/page.h"

namespace vqdb::index {

inline constexpr std::size_t kMaxTagExpression = 220;
inline constexpr std::uint32_t kMaxTagTextKey = 100;
inline constexpr std::uint32_t kPackedKeyBytes = 12;
inline constexpr std::uint32_t kDateKeyBytes = 8;
// The part of a tag's header that changes: its root, and how many pages it uses.
inline constexpr std::size_t kTagRootBytes = 8;

// What the keys of a tag are, as a format text such as "C30", "N" or "DDU" asks for: the type
// letter, the length of text keys, D when they descend, U when they are unique.
struct TagFormat {
  char key_type = 'C';  // C, N (F as well) or D
  std::uint32_t key_length = 0;
  bool descending = false;
  bool unique = false;

  bool operator==(const TagFormat&) const = default;
  KeyKind key_kind(bool collated) const;
};

struct TagHeader {
  PageNumber root = 0;
  std::uint32_t pages = 0;  // that the tag uses, its header included
  TagFormat format;
  std::uint32_t max_keys = 0;
  std::uint32_t stride = 0;
  std::string_view key;
  std::string_view filter;  // empty: every record has a key

  // The bits that tag table and header hold.
  Byte format_bits() const;
  PageLayout layout(std::uint32_t block_bytes) const {
    return {.page_bytes = block_bytes,
            .left_at = 4,
            .entries_at = 8,
            .recno_at = 0,
            .key_at = 4,
            .stride = stride,
            .key_length = format.key_length,
            .max_keys = max_keys};
  }
};

// What went wrong with a format text, if anything.
enum class FormatFault : std::uint8_t { none, key_type, key_length };
FormatFault parse_tag_format(std::string_view text, TagFormat& format);

// The header of a new tag whose tree is the block at `root`. REQUIRES expressions of at most
// kMaxTagExpression characters.
TagHeader new_tag_header(const TagFormat& format, std::string_view key, std::string_view filter,
                         PageNumber root, std::uint32_t block_pages);

// Fills a zeroed block.
void format_tag_header(const TagHeader& header, std::span<Byte> block);
void store_tag_root(const TagHeader& header, Byte* bytes);

// False when the block cannot head a tag of the file: a key type that is none, a key length that
// its type does not have, entries that do not fit, a root outside the file, expressions that are
// missing or do not end. The expressions are views of the block.
bool parse_tag_header(std::span<const Byte> block, const MdxHeader& file, TagHeader& header);

// What a damaged block still says of the tag's expressions, order and uniqueness, beside the format
// bits of its entry in the tag table; all else follows from these. False without expressions.
bool read_tag_texts(std::span<const Byte> block, Byte entry_format, TagHeader& header);

// Whether the places that tell if keys are unique say the same.
bool is_uniqueness_agreed(std::span<const Byte> block);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_TAG_HEADER_H_
