#include "index/mdx/mdx_header.h"

#include <algorithm>

#include "index/tree/redo_log.h"

namespace vqdb::index {
namespace {

constexpr Byte kVersion = 2;
constexpr Byte kTagRoom = kMaxTags + 1;  // entry 0 holds none
constexpr Byte kTagEntryBytes = 32;
constexpr std::uint32_t kMinBlockPages = 2;
constexpr std::uint32_t kMaxBlockPages = 32;

constexpr std::size_t kCreatedAt = 1;
constexpr std::size_t kTableNameAt = 4;
constexpr std::size_t kTableNameBytes = 16;
constexpr std::size_t kBlockPagesAt = 20;
constexpr std::size_t kBlockBytesAt = 22;
constexpr std::size_t kProductionAt = 24;
constexpr std::size_t kTagRoomAt = 25;
constexpr std::size_t kTagEntryBytesAt = 26;
constexpr std::size_t kFirstFreeAt = 36;
constexpr std::size_t kFreeBlocksAt = 40;
constexpr std::size_t kUpdatedAt = 44;

void store_date(const convert::Date& date, Byte* to) {
  to[0] = static_cast<Byte>(date.year - 1900);
  to[1] = static_cast<Byte>(date.month);
  to[2] = static_cast<Byte>(date.day);
}

}  // namespace

MdxHeaderBytes new_mdx_header(std::string_view table_name, const MdxHeader& header,
                              const convert::Date& today) {
  MdxHeaderBytes bytes = {};
  bytes[0] = kVersion;
  store_date(today, &bytes[kCreatedAt]);
  std::ranges::copy(table_name.substr(0, kTableNameBytes), &bytes[kTableNameAt]);
  store_le16(&bytes[kBlockPagesAt], static_cast<std::uint16_t>(header.block_pages));
  store_le16(&bytes[kBlockBytesAt], static_cast<std::uint16_t>(header.block_bytes()));
  bytes[kTagRoomAt] = kTagRoom;
  bytes[kTagEntryBytesAt] = kTagEntryBytes;
  store_mdx_header(header, today, bytes);
  return bytes;
}

void store_mdx_header(const MdxHeader& header, const convert::Date& today, MdxHeaderBytes& bytes) {
  bytes[kProductionAt] = header.production ? 1 : 0;
  set_unfinished(bytes[kMdxMarkAt], header.unfinished);
  store_le16(&bytes[kTagsAt], static_cast<std::uint16_t>(header.tags));
  store_le32(&bytes[kMdxPagesAt], header.pages);
  store_le32(&bytes[kFirstFreeAt], header.first_free);
  store_le32(&bytes[kFreeBlocksAt], header.free_blocks);
  store_date(today, &bytes[kUpdatedAt]);
}

bool parse_mdx_header(const MdxHeaderBytes& bytes, std::uint64_t pages_in_file, MdxHeader& header) {
  header.block_pages =
      std::clamp<std::uint32_t>(load_le16(&bytes[kBlockPagesAt]), kMinBlockPages, kMaxBlockPages);
  header.production = bytes[kProductionAt] != 0;
  header.tags = load_le16(&bytes[kTagsAt]);
  header.pages = load_le32(&bytes[kMdxPagesAt]);
  header.first_free = load_le32(&bytes[kFirstFreeAt]);
  header.free_blocks = load_le32(&bytes[kFreeBlocksAt]);
  header.unfinished = bytes[kMdxMarkAt] == kUnfinishedMark;
  const std::uint32_t block_bytes = load_le16(&bytes[kBlockBytesAt]);
  const bool sizes_agree = block_bytes == 0 || block_bytes == header.block_bytes();
  return bytes[0] == kVersion && sizes_agree && bytes[kTagEntryBytesAt] == kTagEntryBytes &&
         header.tags <= kMaxTags && header.pages >= kFirstMdxBlock &&
         header.pages <= pages_in_file &&
         (header.first_free == 0 || header.holds_block(header.first_free));
}

}  // namespace vqdb::index
