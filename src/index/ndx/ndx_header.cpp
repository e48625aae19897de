#include "index/ndx/ndx_header.h"

#include <algorithm>

namespace vqdb::index {
namespace {

constexpr std::size_t kRootAt = 0;
constexpr std::size_t kNextFreeAt = 4;
constexpr std::size_t kFlagsAt = 8;
constexpr std::size_t kTypeAt = 9;
constexpr std::size_t kKeyLengthAt = 12;
constexpr std::size_t kMaxKeysAt = 14;
constexpr std::size_t kNumericAt = 16;
constexpr std::size_t kStrideAt = 18;
constexpr std::size_t kByte20At = 20;
constexpr std::size_t kUniqueAt = 23;
constexpr std::size_t kExpressionAt = 24;

// What count and trailing child leave of a page for entries.
constexpr std::uint32_t kEntryArea = kNdxPageBytes - 8;
constexpr std::uint32_t kNumberKeyBytes = 8;

bool is_key_type(char type) { return type == 'C' || type == 'D' || type == 'F' || type == 'N'; }

}  // namespace

NdxHeader new_ndx_header(bool is_ndx3, char key_type, std::uint32_t key_length, bool unique,
                         std::string_view expression) {
  NdxHeader header;
  header.flags = is_ndx3 ? ndx_flag::kNdx3 : (unique ? ndx_flag::kUnique : Byte{0});
  header.key_type = key_type;
  header.numeric = key_type != 'C';
  header.key_length = key_length;
  header.stride = key_length + kNdxEntryHead;
  header.max_keys = kEntryArea / header.stride;
  if (unique) header.unique = is_ndx3 ? ndx_flag::kUniqueNdx3 : ndx_flag::kUnique;
  header.expression = expression;
  return header;
}

void format_ndx_header(const NdxHeader& header, NdxPageBytes& page) {
  Byte* const bytes = page.data();
  store_le32(bytes + kRootAt, header.root);
  store_le32(bytes + kNextFreeAt, header.next_free);
  if (!header.is_ndx3()) {
    bytes[kFlagsAt] = static_cast<Byte>(header.flags);
    bytes[kTypeAt] = static_cast<Byte>(header.key_type);
  }
  store_le16(bytes + kKeyLengthAt, static_cast<std::uint16_t>(header.key_length));
  store_le16(bytes + kMaxKeysAt, static_cast<std::uint16_t>(header.max_keys));
  bytes[kNumericAt] = header.numeric ? 1 : 0;
  store_le16(bytes + kStrideAt, static_cast<std::uint16_t>(header.stride));
  bytes[kByte20At] = header.byte20;
  bytes[kUniqueAt] = header.unique;
  std::copy(header.expression.begin(), header.expression.end(), bytes + kExpressionAt);
}

void store_ndx_root(PageNumber root, PageNumber next_free, bool unfinished, NdxRootBytes& bytes) {
  store_le32(&bytes[kRootAt], root);
  store_le32(&bytes[kNextFreeAt], next_free);
  set_unfinished(bytes[kNdxMarkAt], unfinished);
}

void load_ndx_root(const NdxRootBytes& bytes, PageNumber& root, PageNumber& next_free,
                   bool& unfinished) {
  root = load_le32(&bytes[kRootAt]);
  next_free = load_le32(&bytes[kNextFreeAt]);
  unfinished = bytes[kNdxMarkAt] == kUnfinishedMark;
}

NdxHeader decode_ndx_header(const NdxPageBytes& page) {
  const Byte* const bytes = page.data();
  NdxHeader header;
  header.root = load_le32(bytes + kRootAt);
  header.next_free = load_le32(bytes + kNextFreeAt);
  header.key_type = static_cast<char>(bytes[kTypeAt]);
  header.flags = bytes[kFlagsAt];
  header.numeric = bytes[kNumericAt] != 0;
  if (!is_key_type(header.key_type)) {
    header.key_type = header.numeric ? 'N' : 'C';
    header.flags = ndx_flag::kNdx3;
  }
  header.key_length = load_le16(bytes + kKeyLengthAt);
  header.max_keys = load_le16(bytes + kMaxKeysAt);
  header.stride = load_le16(bytes + kStrideAt);
  header.byte20 = bytes[kByte20At];
  header.unique = bytes[kUniqueAt];
  header.unfinished = bytes[kNdxMarkAt] == kUnfinishedMark;
  const auto* text = reinterpret_cast<const char*>(bytes + kExpressionAt);
  header.expression = std::string_view(text, kMaxNdxExpression);
  header.expression = header.expression.substr(0, header.expression.find('\0'));
  return header;
}

bool parse_ndx_header(const NdxPageBytes& page, NdxHeader& header) {
  header = decode_ndx_header(page);
  const bool key_fits = header.key_type == 'C' ? header.key_length <= kMaxNdxTextKey
                                               : header.key_length == kNumberKeyBytes;
  return key_fits && header.layout().is_sound() && header.root > 0 &&
         header.root < header.next_free;
}

}  // namespace vqdb::index
