#include "index/mdx/tag_header.h"

#include <algorithm>
#include <charconv>

namespace vqdb::index {
namespace {

constexpr std::size_t kRootAt = 0;
constexpr std::size_t kPagesAt = 4;
constexpr std::size_t kFormatAt = 8;
constexpr std::size_t kTypeAt = 9;
constexpr std::size_t kKeyLengthAt = 12;
constexpr std::size_t kMaxKeysAt = 14;
constexpr std::size_t kSecondaryTypeAt = 16;
constexpr std::size_t kStrideAt = 18;
constexpr std::size_t kByte20At = 20;
constexpr std::size_t kUniqueAt = 23;
constexpr std::size_t kKeyAt = 24;
constexpr std::size_t kHasFilterAt = 245;
constexpr std::size_t kByte246At = 246;
constexpr std::size_t kFilterAt = 762;
constexpr Byte kByte20 = 2;

namespace format_bit {
constexpr Byte kDescending = 0x08;
constexpr Byte kText = 0x10;
constexpr Byte kFilter = 0x20;
constexpr Byte kUnique = 0x40;
}  // namespace format_bit

constexpr std::uint32_t kEntryHead = 4;  // record number or child
constexpr std::uint32_t kPageHead = 8;   // key count and left neighbour

// The text up to its zero byte; false when it has none.
bool read_expression(std::span<const Byte> block, std::size_t at, std::string_view& text) {
  const auto* const begin = reinterpret_cast<const char*>(&block[at]);
  text = std::string_view(begin, kMaxTagExpression + 1);
  const std::size_t end = text.find('\0');
  text = text.substr(0, end);
  return end != std::string_view::npos;
}

bool has_right_length(const TagFormat& format) {
  if (format.key_type == 'N') return format.key_length == kPackedKeyBytes;
  if (format.key_type == 'D') return format.key_length == kDateKeyBytes;
  return format.key_type == 'C' && format.key_length >= 1 && format.key_length <= kMaxTagTextKey;
}

}  // namespace

KeyKind TagFormat::key_kind(bool collated) const {
  if (key_type == 'N') return KeyKind::packed_number;
  if (key_type == 'D') return KeyKind::number;
  return collated ? KeyKind::collated_text : KeyKind::text;
}

Byte TagHeader::format_bits() const {
  Byte bits = 0;
  if (format.descending) bits |= format_bit::kDescending;
  if (format.key_type == 'C') bits |= format_bit::kText;
  if (!filter.empty()) bits |= format_bit::kFilter;
  if (format.unique) bits |= format_bit::kUnique;
  return bits;
}

FormatFault parse_tag_format(std::string_view text, TagFormat& format) {
  format = {};
  format.key_type = text.empty() ? '\0' : to_upper(text.front());
  if (format.key_type == 'F') format.key_type = 'N';
  if (format.key_type == '\0' || std::string_view("CND").find(format.key_type) == text.npos) {
    return FormatFault::key_type;
  }
  const char* const end = text.data() + text.size();
  const char* rest = std::from_chars(text.data() + 1, end, format.key_length).ptr;
  if (format.key_type == 'N') format.key_length = kPackedKeyBytes;
  if (format.key_type == 'D') format.key_length = kDateKeyBytes;
  if (!has_right_length(format)) return FormatFault::key_length;
  format.descending = rest != end && to_upper(*rest) == 'D';
  if (format.descending) ++rest;
  format.unique = rest != end && to_upper(*rest) == 'U';
  return FormatFault::none;
}

TagHeader new_tag_header(const TagFormat& format, std::string_view key, std::string_view filter,
                         PageNumber root, std::uint32_t block_pages) {
  TagHeader header;
  header.root = root;
  header.pages = 2 * block_pages;
  header.format = format;
  header.stride = (format.key_length + kEntryHead + 3) / 4 * 4;
  header.max_keys =
      (block_pages * kMdxUnitBytes - kPageHead - std::uint32_t{sizeof(PageNumber)}) / header.stride;
  header.key = key;
  header.filter = filter;
  return header;
}

void store_tag_root(const TagHeader& header, Byte* bytes) {
  store_le32(bytes + kRootAt, header.root);
  store_le32(bytes + kPagesAt, header.pages);
}

void format_tag_header(const TagHeader& header, std::span<Byte> block) {
  store_tag_root(header, block.data());
  block[kFormatAt] = header.format_bits();
  block[kTypeAt] = static_cast<Byte>(header.format.key_type);
  store_le16(&block[kKeyLengthAt], static_cast<std::uint16_t>(header.format.key_length));
  store_le16(&block[kMaxKeysAt], static_cast<std::uint16_t>(header.max_keys));
  block[kSecondaryTypeAt] = header.format.key_type == 'D' ? 1 : 0;
  store_le16(&block[kStrideAt], static_cast<std::uint16_t>(header.stride));
  block[kByte20At] = kByte20;
  block[kUniqueAt] = header.format.unique ? format_bit::kUnique : Byte{0};
  std::ranges::copy(header.key, &block[kKeyAt]);
  block[kHasFilterAt] = header.filter.empty() ? 0 : 1;
  block[kByte246At] = 1;
  std::ranges::copy(header.filter, &block[kFilterAt]);
}

bool parse_tag_header(std::span<const Byte> block, const MdxHeader& file, TagHeader& header) {
  const Byte bits = block[kFormatAt];
  header.root = load_le32(&block[kRootAt]);
  header.pages = load_le32(&block[kPagesAt]);
  header.format.key_type = static_cast<char>(block[kTypeAt]);
  if (header.format.key_type == 'F') header.format.key_type = 'N';
  header.format.key_length = load_le16(&block[kKeyLengthAt]);
  header.format.descending = (bits & format_bit::kDescending) != 0;
  // Both have to say so: a tag that is taken for unique by mistake leaves records out.
  header.format.unique = (bits & format_bit::kUnique) != 0 && block[kUniqueAt] != 0;
  header.max_keys = load_le16(&block[kMaxKeysAt]);
  header.stride = load_le16(&block[kStrideAt]);
  header.filter = {};
  const bool filtered = (bits & format_bit::kFilter) != 0 || block[kHasFilterAt] == 1;
  if (filtered && (!read_expression(block, kFilterAt, header.filter) || header.filter.empty())) {
    return false;
  }
  return read_expression(block, kKeyAt, header.key) && !header.key.empty() &&
         has_right_length(header.format) && header.layout(file.block_bytes()).is_sound() &&
         file.holds_block(header.root);
}

bool read_tag_texts(std::span<const Byte> block, Byte entry_format, TagHeader& header) {
  header = {};
  header.format.descending = (entry_format & format_bit::kDescending) != 0;
  header.format.unique = (entry_format & format_bit::kUnique) != 0 && block[kUniqueAt] != 0;
  const bool filtered = (entry_format & format_bit::kFilter) != 0 || block[kHasFilterAt] == 1;
  return read_expression(block, kKeyAt, header.key) && !header.key.empty() &&
         (!filtered ||
          (read_expression(block, kFilterAt, header.filter) && !header.filter.empty()));
}

bool is_uniqueness_agreed(std::span<const Byte> block) {
  return ((block[kFormatAt] & format_bit::kUnique) != 0) == (block[kUniqueAt] != 0);
}

}  // namespace vqdb::index
