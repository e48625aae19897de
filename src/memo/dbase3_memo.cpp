#include "memo/dbase3_memo.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <span>

#include "frame/bytes.h"
#include "memo/file_layout.h"
#include "memo/hold.h"
#include "memo/reference.h"

namespace vqdb::memo {
namespace {

constexpr Operation kGet{222};
constexpr Operation kSize{224};
constexpr Operation kWrite{228};
constexpr Operation kLocate{1016};

constexpr Byte kEndOfText = 0x1A;
constexpr std::array<Byte, 2> kEndMark = {kEndOfText, kEndOfText};

// A text is read in pieces, a short one first, since most texts are short.
constexpr std::size_t kFirstPiece = 2048;
constexpr std::size_t kLaterPieces = 8192;

// Walks over a memo's text and hands it out piece by piece.
template <typename Take>
Result scan(Memo& memo, const char* reference, std::int32_t read_failure, Take take) {
  const std::uint64_t block = parse_reference(reference);
  if (block == 0) return fail(memo.block, Result::out_of_range, kLocate.detail(2));
  if (block > std::numeric_limits<std::uint32_t>::max()) {
    return fail(memo.block, Result::io, kLocate.detail(3));
  }
  std::array<Byte, kLaterPieces> piece;
  const std::uint64_t start = memo.offset_of(block);
  for (std::uint64_t position = start;;) {
    const std::size_t wanted = position == start ? kFirstPiece : kLaterPieces;
    std::size_t got = 0;
    const platform::Outcome read = memo.file.read_at(position, piece.data(), wanted, got);
    // The end of the file ends a text, but a memo behind it is no empty one.
    if (!read.ok() || (got == 0 && position == start)) {
      return fail(memo.block, Result::io, read_failure);
    }
    const std::size_t size = dbase3_text_size(std::span(piece).first(got));
    if (position + size - start > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) {
      return fail(memo.block, Result::bad_format, read_failure);
    }
    take(std::span<const Byte>(piece).first(size));
    position += size;
    if (size < wanted) return Result::ok;
  }
}

Result nothing_to_refresh(Memo&) { return Result::ok; }

Result refresh(Memo& memo) {
  if (!memo.shared()) return Result::ok;  // the header is older than what this handle knows
  std::array<Byte, 4> bytes;
  if (!memo.file.read_exactly(kNextFreeOffset, bytes.data(), bytes.size()).ok() ||
      !memo.file.size(memo.file_size).ok()) {
    return fail(memo.block, Result::io, kWrite.detail(4));
  }
  memo.next_free = memo.stored_next_free = load_le32(bytes.data());
  return Result::ok;
}

// Writes a text with its end mark, as far as possible in one go.
Result write_text(Memo& memo, std::uint64_t position, std::span<const Byte> text) {
  const auto body = text.first(text.size() / platform::kChunkBytes * platform::kChunkBytes);
  if (!memo.file.write_at(position, body.data(), body.size()).ok()) {
    return fail(memo.block, Result::io, kWrite.detail(5));
  }
  const auto rest = text.subspan(body.size());
  const std::array<platform::Piece, 2> pieces = {
      {{const_cast<Byte*>(rest.data()), rest.size()},
       {const_cast<Byte*>(kEndMark.data()), kEndMark.size()}}};
  if (memo.file.write_pieces(position + body.size(), pieces).ok()) return Result::ok;
  return fail(memo.block, Result::io, kWrite.detail(rest.empty() ? 6 : 5));
}

Result append(Memo& memo, std::span<const Byte> text, char* reference) {
  // A process that died before it closed the file left a header that is older than its memos.
  const std::uint64_t block = std::max<std::uint64_t>(memo.next_free, memo.blocks_in_file());
  const std::uint64_t behind = block + (text.size() + 1) / kDbase3BlockSize + 1;
  const std::uint64_t position = memo.offset_of(block);
  if (position > memo.file_size + kMaxFilledGap) {
    return fail(memo.block, Result::bad_format, kWrite.detail(4));
  }
  if (behind > std::numeric_limits<std::uint32_t>::max()) {
    return fail(memo.block, Result::disk_full, kWrite.detail(4));
  }
  if (const Result written = write_text(memo, position, text); !ok(written)) return written;
  memo.file_size = position + text.size() + kEndMark.size();
  memo.next_free = static_cast<std::uint32_t>(behind);
  if (memo.shared() && !store_next_free(memo)) {
    return fail(memo.block, Result::io, kWrite.detail(7));
  }
  write_reference(static_cast<std::uint32_t>(block), reference);
  return Result::ok;
}

}  // namespace

std::size_t dbase3_text_size(std::span<const Byte> bytes) {
  const auto before = [&](Byte end, std::size_t size) {
    const void* found = size == 0 ? nullptr : std::memchr(bytes.data(), end, size);
    return found == nullptr
               ? size
               : static_cast<std::size_t>(static_cast<const Byte*>(found) - bytes.data());
  };
  return before(0, before(kEndOfText, bytes.size()));
}

Result write_dbase3(Memo& memo, const void* text, char* reference, std::int32_t* moved) {
  if (memo.layout != Layout::dbase3) {
    return fail(memo.block, Result::not_allowed, kWrite.detail(2));
  }
  if (memo.read_only()) return fail(memo.block, Result::read_only, kWrite.detail(2));
  const auto* bytes = static_cast<const Byte*>(text);
  if (bytes == nullptr || *bytes == 0) {
    return fail(memo.block, Result::out_of_range, kWrite.detail(3));
  }
  return under_hold(memo, refresh, [&] {
    if (moved != nullptr) *moved = 1;
    const std::size_t size = std::strlen(static_cast<const char*>(text));
    return append(memo, {bytes, size}, reference);
  });
}

Result get_dbase3(Memo& memo, const char* reference, void* buffer, std::int32_t* length,
                  std::int32_t* done) {
  if (memo.layout != Layout::dbase3) {
    return fail(memo.block, Result::not_allowed, kGet.detail(2));
  }
  return under_hold(memo, nothing_to_refresh, [&] {
    if (done != nullptr) *done = 1;
    *length = 0;
    auto* out = static_cast<Byte*>(buffer);
    const Result result = scan(memo, reference, kGet.detail(3), [&](std::span<const Byte> text) {
      out = std::copy(text.begin(), text.end(), out);
    });
    *out = 0;
    *length = static_cast<std::int32_t>(out - static_cast<Byte*>(buffer));
    return result;
  });
}

Result size_dbase3(Memo& memo, const char* reference, std::int32_t* length) {
  if (memo.layout != Layout::dbase3) {
    return fail(memo.block, Result::not_allowed, kSize.detail(2));
  }
  return under_hold(memo, nothing_to_refresh, [&] {
    std::int32_t counted = 0;
    const Result result = scan(memo, reference, kSize.detail(3), [&](std::span<const Byte> text) {
      counted += static_cast<std::int32_t>(text.size());
    });
    if (ok(result)) *length = counted;
    return result;
  });
}

}  // namespace vqdb::memo
