// One transfer of consecutive blocks from or to the buffers that hold them, wherever these lie.
// Blocks that lie in a row in memory count as one piece.
#ifndef VQDBSYS_TABLE_BLOCK_TRANSFER_H_
#define VQDBSYS_TABLE_BLOCK_TRANSFER_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/bytes.h"
#include "platform/file.h"

namespace vqdb::table {

class BlockTransfer {
 public:
  static constexpr std::size_t kMaxBlocks = platform::kMaxPieces - 1;  // one is for the end mark

  // Blocks of this size that one call of the system moves; 1 for a block larger than that.
  static std::size_t blocks_of(std::size_t block_size) {
    return std::clamp<std::size_t>(platform::kChunkBytes / block_size, 1, kMaxBlocks);
  }

  // A write leaves the bytes as they are.
  void add(const Byte* bytes, std::size_t size) {
    auto* const data = const_cast<Byte*>(bytes);
    if (count_ > 0) {
      platform::Piece& last = pieces_[count_ - 1];
      if (static_cast<Byte*>(last.data) + last.size == data) {
        last.size += size;
        return;
      }
    }
    pieces_[count_++] = {data, size};
  }

  // A single block may be larger than one call of the system moves. `moved` counts the bytes, of a
  // failed write as well.
  platform::Outcome write(platform::File& file, std::uint64_t offset, std::size_t& moved) {
    moved = 0;
    if (pieces_[0].size <= platform::kChunkBytes) {
      return file.write_pieces(offset, {pieces_.data(), count_}, &moved);
    }
    for (std::size_t i = 0; i < count_; ++i) {
      std::size_t bytes = 0;
      const platform::Outcome outcome =
          file.write_at(offset + moved, pieces_[i].data, pieces_[i].size, &bytes);
      moved += bytes;
      if (!outcome.ok()) return outcome;
    }
    return {};
  }
  platform::Outcome read(platform::File& file, std::uint64_t offset, std::size_t& moved) {
    if (count_ == 1) return file.read_at(offset, pieces_[0].data, pieces_[0].size, moved);
    return file.read_pieces(offset, {pieces_.data(), count_}, moved);
  }

 private:
  std::array<platform::Piece, platform::kMaxPieces> pieces_;
  std::size_t count_ = 0;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_BLOCK_TRANSFER_H_
