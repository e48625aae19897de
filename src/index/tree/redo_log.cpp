#include "index/tree/redo_log.h"

#include <algorithm>
#include <array>

namespace vqdb::index {
namespace {

using platform::Outcome;

constexpr std::array<Byte, 8> kSignature = {'V', 'Q', 'R', 'E', 'D', 'O', '1', 0x1A};
constexpr std::size_t kBytesAt = 8;
constexpr std::size_t kRecordsAt = 12;
constexpr std::size_t kOldEndAt = 16;
constexpr std::size_t kChecksumAt = 24;
constexpr std::size_t kHeadBytes = 32;
constexpr std::size_t kRecordHead = 8;  // page, count of bytes
// How often a file is looked at that others cut off meanwhile.
constexpr int kMostTries = 100;

std::uint64_t load_word(const Byte* from) {
  std::uint64_t value = 0;
  std::memcpy(&value, from, sizeof value);
  return value;
}

bool is_head(const Byte* bytes) { return std::equal(kSignature.begin(), kSignature.end(), bytes); }

}  // namespace

template <typename Visit>
void RedoLog::each(Visit visit) const {
  if (records_ == 0) return;  // there may be no memory
  const Byte* at = bytes_.get() + kHeadBytes;
  for (std::uint32_t i = 0; i < records_; ++i) {
    const std::uint32_t size = load_le32(at + sizeof(PageNumber));
    visit(offset_of(load_le32(at)), std::span(at + kRecordHead, size));
    at += kRecordHead + size;
  }
}

void RedoLog::start(PageNumber old_end) {
  old_end_ = old_end;
  size_ = kHeadBytes;
  records_ = 0;
}

std::size_t RedoLog::padded() const {
  return (size_ + kHeadBytes + unit_bytes_ - 1) / unit_bytes_ * unit_bytes_;
}

// Room for so many bytes, and for what goes behind them.
bool RedoLog::reserve(std::size_t bytes) {
  const std::size_t wanted = bytes + kHeadBytes + unit_bytes_;
  if (wanted <= capacity_) return true;
  const std::size_t capacity = std::max(2 * capacity_, wanted);
  platform::Bytes grown = platform::allocate_bytes(capacity);
  if (grown == nullptr) return false;
  if (capacity_ > 0) std::memcpy(grown.get(), bytes_.get(), capacity_);
  bytes_ = std::move(grown);
  capacity_ = capacity;
  return true;
}

bool RedoLog::add(PageNumber page, std::span<const Byte> bytes) {
  if (!reserve(size_ + kRecordHead + bytes.size())) return false;
  Byte* const to = bytes_.get() + size_;
  store_le32(to, page);
  store_le32(to + sizeof page, static_cast<std::uint32_t>(bytes.size()));
  std::memcpy(to + kRecordHead, bytes.data(), bytes.size());
  size_ += kRecordHead + bytes.size();
  ++records_;
  return true;
}

// Over the head up to its own place, and the records.
std::uint64_t RedoLog::checksum() const {
  std::uint64_t sum = 0xCBF29CE484222325u;
  for (std::size_t at = 0; at < size_; at += sizeof sum) {
    if (at == kChecksumAt) continue;
    sum = (sum ^ load_word(bytes_.get() + at)) * 0x100000001B3u;
    sum ^= sum >> 29;
  }
  return sum;
}

Outcome RedoLog::write(platform::File& file, PageNumber end) {
  Byte* const head = bytes_.get();
  std::copy(kSignature.begin(), kSignature.end(), head);
  store_le32(head + kBytesAt, static_cast<std::uint32_t>(size_));
  store_le32(head + kRecordsAt, records_);
  store_le32(head + kOldEndAt, old_end_);
  store_le32(head + kOldEndAt + sizeof old_end_, 0);
  const std::uint64_t sum = checksum();
  std::memcpy(head + kChecksumAt, &sum, sizeof sum);
  const std::size_t whole = padded();
  std::memset(head + size_, 0, whole - size_);
  std::memcpy(head + whole - kHeadBytes, head, kHeadBytes);
  if (whole > platform::kChunkBytes) {
    const Outcome outcome = file.write_at(offset_of(end) + whole - kHeadBytes, head, kHeadBytes);
    if (!outcome.ok()) return outcome;
  }
  return file.write_at(offset_of(end), head, whole);
}

Outcome RedoLog::apply(platform::File& file) const {
  std::array<platform::Piece, platform::kMaxPieces> pieces;
  std::size_t count = 0;
  std::uint64_t start = 0;
  std::uint64_t next = 0;
  Outcome outcome;
  const auto write = [&] {
    if (outcome.ok() && count > 0)
      outcome = file.write_pieces(start, std::span(pieces).first(count));
    count = 0;
  };
  each([&](std::uint64_t offset, std::span<const Byte> bytes) {
    if (count == pieces.size() || offset != next || next - start >= platform::kChunkBytes) write();
    if (count == 0) start = next = offset;
    pieces[count++] = {const_cast<Byte*>(bytes.data()), bytes.size()};
    next += bytes.size();
  });
  write();
  return outcome;
}

bool RedoLog::is_sound(PageNumber end) const {
  std::size_t at = kHeadBytes;
  for (std::uint32_t i = 0; i < records_; ++i) {
    if (size_ - at < kRecordHead) return false;
    const std::uint32_t page = load_le32(bytes_.get() + at);
    const std::uint32_t size = load_le32(bytes_.get() + at + sizeof page);
    at += kRecordHead;
    if (size > size_ - at || page == 0 || offset_of(page) + size > offset_of(end)) return false;
    at += size;
  }
  return at == size_ && load_word(bytes_.get() + kChecksumAt) == checksum();
}

RedoLog::Found RedoLog::read(platform::File& file, PageNumber end) {
  start(end);
  std::array<Byte, kHeadBytes> head;
  std::uint64_t size = 0;
  if (!file.size(size).ok()) return Found::unreadable;
  if (size < offset_of(end) + 2 * kHeadBytes) return Found::none;
  if (!file.read_exactly(offset_of(end), head.data(), head.size()).ok()) return Found::unreadable;
  const std::uint32_t bytes = load_le32(&head[kBytesAt]);
  if (!is_head(head.data()) || bytes < kHeadBytes || bytes % 8 != 0 ||
      bytes > size - offset_of(end)) {
    return Found::none;
  }
  if (!reserve(bytes)) return Found::no_memory;
  if (!file.read_exactly(offset_of(end), bytes_.get(), bytes).ok()) return Found::unreadable;
  size_ = bytes;
  records_ = load_le32(&head[kRecordsAt]);
  if (is_sound(end)) return Found::log;
  start(end);
  return Found::none;
}

void RedoLog::patch(std::uint64_t offset, std::span<Byte> bytes) const {
  each([&](std::uint64_t at, std::span<const Byte> record) {
    const std::uint64_t begin = std::max(at, offset);
    const std::uint64_t end = std::min(at + record.size(), offset + bytes.size());
    if (begin >= end) return;
    std::memcpy(&bytes[static_cast<std::size_t>(begin - offset)],
                &record[static_cast<std::size_t>(begin - at)],
                static_cast<std::size_t>(end - begin));
  });
}

bool RedoLog::find_end(platform::File& file, std::uint32_t unit_bytes, PageNumber counted,
                       std::uint64_t& size, std::uint64_t& end) {
  std::array<Byte, kHeadBytes> head;
  for (int tries = 0; tries < kMostTries; ++tries) {
    if (!file.size(size).ok()) return false;
    end = (size + unit_bytes - 1) / unit_bytes;
    if (end <= counted) return true;
    std::size_t got = 0;
    if (!file.read_at(size - kHeadBytes, head.data(), head.size(), got).ok()) return false;
    if (got < head.size()) continue;  // somebody else has cut the file off since
    const PageNumber old_end = load_le32(&head[kOldEndAt]);
    if (is_head(head.data()) && old_end < end) end = std::max(old_end, counted);
    return true;
  }
  return false;
}

}  // namespace vqdb::index
