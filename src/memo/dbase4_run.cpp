#include "memo/dbase4_run.h"

#include <algorithm>
#include <array>
#include <limits>

#include "memo/file_layout.h"
#include "memo/reference.h"

namespace vqdb::memo {
namespace {

constexpr Operation kLocate{1016};
constexpr Operation kSize{208};
constexpr Operation kAllocate{211};
constexpr Operation kWrite{212};

// As much of a memo as is read along with its header; more would make large blocks slow to open.
constexpr std::uint32_t kMaxHead = 4096;
// The longest gap that is filled along with the memo behind it.
constexpr std::uint64_t kShortGap = 4096;
constexpr std::uint64_t kMaxLength = std::numeric_limits<std::int32_t>::max();

constexpr std::array<Byte, platform::kChunkBytes> kZeros = {};

Result read_head(Memo& memo, std::uint32_t block) {
  if (block == memo.head_block && !memo.shared()) return Result::ok;
  memo.head_block = 0;
  std::size_t transferred = 0;
  const platform::Outcome outcome = memo.file.read_at(
      memo.offset_of(block), memo.head.get(), std::min(memo.block_size, kMaxHead), transferred);
  if (!outcome.ok() || transferred < kMemoHeaderBytes) {
    return fail(memo.block, Result::io, kSize.detail(3));
  }
  memo.head_size = static_cast<std::uint32_t>(transferred);
  memo.head_block = block;
  return Result::ok;
}

// Whether the file reaches to this offset. Its size may have grown behind our back where no lock
// is taken.
bool reaches(Memo& memo, std::uint64_t offset) {
  if (offset <= memo.file_size) return true;
  std::uint64_t size = 0;
  return memo.file.size(size).ok() && offset <= size;
}

void grow_to(Memo& memo, std::uint64_t end) { memo.file_size = std::max(memo.file_size, end); }

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

// Fills the file with zeros up to the run, but for a last stretch that goes with the memo itself.
Result fill_gap(Memo& memo, std::uint64_t start) {
  while (memo.file_size + kShortGap < start) {
    const std::uint64_t rest = start - memo.file_size;
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(rest, kZeros.size()));
    if (!memo.file.write_at(memo.file_size, kZeros.data(), size).ok()) {
      return fail(memo.block, Result::io, kAllocate.detail(6));
    }
    memo.file_size += size;
  }
  return Result::ok;
}

}  // namespace

Result locate(Memo& memo, const char* reference, Located& located) {
  const std::uint64_t block = parse_reference(reference);
  if (block == 0) return fail(memo.block, Result::out_of_range, kLocate.detail(2));
  if (block > std::numeric_limits<std::uint32_t>::max()) {
    return fail(memo.block, Result::io, kLocate.detail(3));
  }
  located.run.first = static_cast<std::uint32_t>(block);
  if (const Result read = read_head(memo, located.run.first); !ok(read)) return read;
  if (memo.head[0] != kMemoMark[0]) return fail(memo.block, Result::bad_format, kSize.detail(4));

  const std::uint32_t stored = load_le32(&memo.head[kMemoMark.size()]);
  if (stored < kMemoHeaderBytes || stored - kMemoHeaderBytes > kMaxLength ||
      !reaches(memo, memo.offset_of(block) + stored)) {
    memo.head_block = 0;
    return fail(memo.block, Result::bad_format, kSize.detail(5));
  }
  located.length = stored - static_cast<std::uint32_t>(kMemoHeaderBytes);
  located.run.count = blocks_for(located.length, memo.block_size);
  return Result::ok;
}

Result read_text(Memo& memo, const Located& located, std::uint32_t offset, std::uint32_t count,
                 Byte* out, std::int32_t detail) {
  const auto known = memo.head_size - static_cast<std::uint32_t>(kMemoHeaderBytes);
  if (offset < known) {
    const std::uint32_t part = std::min(count, known - offset);
    std::copy_n(&memo.head[kMemoHeaderBytes + offset], part, out);
    offset += part;
    count -= part;
    out += part;
  }
  if (count == 0) return Result::ok;
  const std::uint64_t position = text_offset(memo, located.run, offset);
  if (memo.file.read_exactly(position, out, count).ok()) return Result::ok;
  return fail(memo.block, Result::io, detail);
}

Result write_text(Memo& memo, Run run, std::uint32_t offset, std::span<const Byte> text,
                  std::int32_t detail) {
  memo.head_block = 0;
  const std::uint64_t position = text_offset(memo, run, offset);
  if (!memo.file.write_at(position, text.data(), text.size()).ok()) {
    return fail(memo.block, Result::io, detail);
  }
  grow_to(memo, position + text.size());
  return Result::ok;
}

Result write_memo(Memo& memo, Run run, std::uint32_t length, std::span<const Byte> leading,
                  std::span<const Byte> text, std::int32_t detail) {
  memo.head_block = 0;
  const std::uint64_t start = memo.offset_of(run.first);
  if (const Result filled = fill_gap(memo, start); !ok(filled)) return filled;

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
  grow_to(memo, start + kMemoHeaderBytes + written);
  return write_text(memo, run, static_cast<std::uint32_t>(written), text.subspan(along.size()),
                    detail);
}

Result write_length(Memo& memo, Run run, std::uint32_t length, std::int32_t detail) {
  memo.head_block = 0;
  const std::array<Byte, kMemoHeaderBytes> header = header_for(length);
  const std::uint64_t position = memo.offset_of(run.first) + kMemoMark.size();
  if (memo.file.write_at(position, &header[kMemoMark.size()], 4).ok()) return Result::ok;
  return fail(memo.block, Result::io, detail);
}

}  // namespace vqdb::memo
