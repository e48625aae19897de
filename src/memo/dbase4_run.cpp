#include "memo/dbase4_run.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "memo/file_layout.h"
#include "memo/reference.h"

namespace vqdb::memo {
namespace {

constexpr Operation kLocate{1016};
constexpr Operation kSize{208};
constexpr Operation kAllocate{211};
constexpr Operation kWrite{212};

// A memo's header is read together with the text behind it, at least so much and up to the end of a
// page: systems keep files in memory by pages, and looking one up twice costs more than copying it.
constexpr std::uint32_t kLeastHead = 1536;
constexpr std::uint32_t kPage = 4096;
// Whoever has asked so many times for the memo behind the last one is likely to go on, and is read
// for in advance.
constexpr std::uint32_t kStepsBeforeReadingAhead = 2;
constexpr std::uint32_t kReadAhead = platform::kChunkBytes;
// The longest gap that is filled along with the memo behind it.
constexpr std::uint64_t kShortGap = 4096;

constexpr std::array<Byte, platform::kChunkBytes> kZeros = {};

// Reads a stretch of the file into the window.
Result fill_window(Memo& memo, std::uint64_t start, std::uint32_t size) {
  Window& window = memo.window;
  window.size = 0;
  std::size_t transferred = 0;
  const platform::Outcome outcome = memo.read_at(start, window.bytes.get(), size, transferred);
  if (!outcome.ok() || transferred < kMemoHeaderBytes) {
    return fail(memo.block, Result::io, kSize.detail(3));
  }
  window.offset = start;
  window.size = static_cast<std::uint32_t>(transferred);
  return Result::ok;
}

// Whether the memos are being read one behind the other.
bool reads_ahead(const Memo& memo, std::uint64_t start, Window& window) {
  if (start != window.last_start) window.steps = start == window.last_end ? window.steps + 1 : 0;
  window.last_start = start;
  const bool keeps_more = !memo.shared() || memo.is_carried;
  return keeps_more && window.steps >= kStepsBeforeReadingAhead;
}

// A handle gets by with a block's room, which it always has, but is faster with more.
void make_room(Window& window) {
  if (window.capacity >= kReadAhead) return;
  platform::Bytes larger = platform::allocate_bytes(kReadAhead);
  if (larger == nullptr) return;
  window.bytes = std::move(larger);
  window.capacity = kReadAhead;
  window.size = 0;
}

std::uint32_t head_size(std::uint64_t start) {
  const auto rest = kPage - static_cast<std::uint32_t>(start % kPage);
  return rest < kLeastHead ? rest + kPage : rest;
}

// Brings a memo's header, and of its text what is read along, into the window, unless they are
// there already.
Result read_head(Memo& memo, std::uint64_t start) {
  Window& window = memo.window;
  make_room(window);
  const bool ahead = reads_ahead(memo, start, window);
  const std::uint32_t size = std::min(ahead ? kReadAhead : head_size(start), window.capacity);
  if (!window.covers(start, kMemoHeaderBytes)) return fill_window(memo, start, size);
  const std::uint32_t length = load_le32(window.at(start) + kMemoMark.size());
  const bool cut = !window.covers(start, length) && window.offset != start;
  return ahead && cut && length <= size ? fill_window(memo, start, size) : Result::ok;
}

// Whether the file reaches to this offset. Its size may have grown behind our back where no lock
// is taken.
bool reaches(Memo& memo, std::uint64_t offset) {
  if (offset <= memo.file_size) return true;
  std::uint64_t size = 0;
  return memo.file.size(size).ok() && offset <= size;
}

std::uint64_t text_offset(const Memo& memo, Run run, std::uint32_t offset) {
  return memo.offset_of(run.first) + kMemoHeaderBytes + offset;
}

platform::Piece piece_of(std::span<const Byte> bytes) {
  return {const_cast<Byte*>(bytes.data()), bytes.size()};
}

std::array<Byte, kMemoHeaderBytes> header_for(std::uint32_t length) {
  std::array<Byte, kMemoHeaderBytes> header;
  std::copy(kMemoMark.begin(), kMemoMark.end(), header.begin());
  store_le32(header.data() + kMemoMark.size(),
             length + static_cast<std::uint32_t>(kMemoHeaderBytes));
  return header;
}

// Whether a run that begins like this is a memo's. Other programs may have marks of which only the
// first byte is the same; then it must not be a free run, whose link can begin with any byte.
bool begins_memo(Memo& memo, std::uint32_t block, const Byte* header) {
  if (std::equal(kMemoMark.begin(), kMemoMark.end(), header)) return true;
  bool is_free = true;
  return header[0] == kMemoMark[0] && ok(memo.free_chain.contains(memo, block, is_free)) &&
         !is_free;
}

}  // namespace

Result locate(Memo& memo, const char* reference, Located& located) {
  const std::uint64_t block = parse_reference(reference);
  if (block == 0) return fail(memo.block, Result::out_of_range, kLocate.detail(2));
  if (block > std::numeric_limits<std::uint32_t>::max()) {
    return fail(memo.block, Result::io, kLocate.detail(3));
  }
  located.run.first = static_cast<std::uint32_t>(block);
  const std::uint64_t start = memo.offset_of(block);
  if (const Result read = read_head(memo, start); !ok(read)) return read;
  Window& window = memo.window;
  const Byte* const header = window.at(start);
  if (!begins_memo(memo, located.run.first, header)) {
    return fail(memo.block, Result::bad_format, kSize.detail(4));
  }

  const std::uint32_t stored = load_le32(header + kMemoMark.size());
  if (stored < kMemoHeaderBytes || stored - kMemoHeaderBytes > kLongestMemo ||
      !reaches(memo, start + stored)) {
    window.size = 0;
    return fail(memo.block, Result::bad_format, kSize.detail(5));
  }
  located.length = stored - static_cast<std::uint32_t>(kMemoHeaderBytes);
  located.run.count = blocks_for(located.length, memo.block_size);
  window.last_end = memo.offset_of(block + located.run.count);
  return Result::ok;
}

Result read_text(Memo& memo, const Located& located, std::uint32_t offset, std::uint32_t count,
                 Byte* out, std::int32_t detail) {
  const Window& window = memo.window;
  std::uint64_t position = text_offset(memo, located.run, offset);
  if (window.covers(position, 1)) {
    const std::uint64_t known = window.offset + window.size - position;
    const auto part = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, known));
    std::copy_n(window.at(position), part, out);
    position += part;
    count -= part;
    out += part;
  }
  if (count == 0) return Result::ok;
  std::size_t transferred = 0;
  const bool read = memo.read_at(position, out, count, transferred).ok();
  return read && transferred == count ? Result::ok : fail(memo.block, Result::io, detail);
}

Result write_text(Memo& memo, Run run, std::uint32_t offset, std::span<const Byte> text,
                  std::int32_t detail) {
  memo.window.size = 0;
  const std::uint64_t position = text_offset(memo, run, offset);
  if (!memo.file.write_at(position, text.data(), text.size()).ok()) {
    return fail(memo.block, Result::io, detail);
  }
  memo.grow_to(position + text.size());
  return Result::ok;
}

Result fill_gap(Memo& memo, std::uint64_t offset) {
  while (memo.file_size + kShortGap < offset) {
    const std::uint64_t rest = offset - memo.file_size;
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(rest, kZeros.size()));
    if (!memo.file.write_at(memo.file_size, kZeros.data(), size).ok()) {
      return fail(memo.block, Result::io, kAllocate.detail(6));
    }
    memo.file_size += size;
  }
  return Result::ok;
}

Result write_memo(Memo& memo, Run run, std::uint32_t length, std::span<const Byte> leading,
                  std::span<const Byte> text, std::int32_t detail) {
  memo.window.size = 0;
  const std::uint64_t start = memo.offset_of(run.first);
  const std::uint64_t gap = start - std::min(start, memo.file_size);
  const std::array<Byte, kMemoHeaderBytes> header = header_for(length);
  const auto along =
      text.first(std::min(text.size(), platform::kChunkBytes - kMemoHeaderBytes - leading.size()));
  const std::array<platform::Piece, 4> pieces = {
      piece_of(std::span(kZeros).first(static_cast<std::size_t>(gap))), piece_of(header),
      piece_of(leading), piece_of(along)};
  if (!memo.file.write_pieces(start - gap, pieces).ok()) {
    const bool bare = leading.empty() && along.empty();
    return fail(memo.block, Result::io, bare ? kWrite.detail(1) : detail);
  }
  const std::size_t written = leading.size() + along.size();
  memo.grow_to(start + kMemoHeaderBytes + written);
  return write_text(memo, run, static_cast<std::uint32_t>(written), text.subspan(along.size()),
                    detail);
}

Result write_length(Memo& memo, Run run, std::uint32_t length, std::int32_t detail) {
  memo.window.size = 0;
  const std::array<Byte, kMemoHeaderBytes> header = header_for(length);
  const std::uint64_t position = memo.offset_of(run.first) + kMemoMark.size();
  if (memo.file.write_at(position, &header[kMemoMark.size()], 4).ok()) return Result::ok;
  return fail(memo.block, Result::io, detail);
}

}  // namespace vqdb::memo
