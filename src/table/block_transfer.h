// One write of consecutive blocks from the buffers that hold them, wherever these lie. Blocks that
// lie in a row in memory count as one piece.
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

  // A single block may be larger than one call of the system moves.
  platform::Outcome write(platform::File& file, std::uint64_t offset) {
    if (pieces_[0].size > platform::kChunkBytes) {
      for (std::size_t i = 0; i < count_; offset += pieces_[i++].size) {
        const platform::Outcome outcome = file.write_at(offset, pieces_[i].data, pieces_[i].size);
        if (!outcome.ok()) return outcome;
      }
      return {};
    }
    return file.write_pieces(offset, {pieces_.data(), count_});
  }

 private:
  std::array<platform::Piece, platform::kMaxPieces> pieces_;
  std::size_t count_ = 0;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_BLOCK_TRANSFER_H_
