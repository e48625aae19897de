// The bytes of memo files: their header, and what begins a memo and a free run in the dBASE IV
// layout.
#ifndef VQDBSYS_MEMO_FILE_LAYOUT_H_
#define VQDBSYS_MEMO_FILE_LAYOUT_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/bytes.h"
#include "vqdbsys.h"

namespace vqdb::memo {

// File header, in block 0. The dBASE III layout has the first field only.
inline constexpr std::size_t kHeaderBytes = 24;
inline constexpr std::size_t kNextFreeOffset = 0;
inline constexpr std::size_t kBaseNameOffset = 8;
inline constexpr std::size_t kBaseNameBytes = 8;
inline constexpr std::size_t kBlockSizeOffset = 20;
// What every dBASE IV header has before the block size.
inline constexpr std::size_t kLayoutMarkOffset = 18;
inline constexpr std::array<Byte, 2> kLayoutMark = {2, 1};

// A memo begins with the mark and, as 32 bits, its length with these eight bytes included.
inline constexpr std::size_t kMemoHeaderBytes = 8;
inline constexpr std::array<Byte, 4> kMemoMark = {255, 255, 8, 0};
inline constexpr std::uint64_t kLongestMemo = 0x7FFFFFFF;  // bytes of text

// A free run begins with the first block of the next run and its own number of blocks.
inline constexpr std::size_t kFreeRunBytes = 8;

inline constexpr std::uint32_t kDbase3BlockSize = 512;

inline constexpr std::uint32_t kBlockUnit = VQ_MEMO_BLOCK_UNIT;
inline constexpr std::uint32_t kMaxBlockSetting = VQ_MEMO_MAX_BLOCK_SETTING;
// Other programs also make blocks in units of 64 bytes.
inline constexpr std::uint32_t kForeignBlockUnit = 64;
inline constexpr std::uint32_t kMaxBlockSize = 32768;

constexpr bool is_block_size(std::uint32_t size) {
  return size != 0 && size % kForeignBlockUnit == 0 && size <= kMaxBlockSize;
}

// How many blocks a memo of this length takes.
constexpr std::uint32_t blocks_for(std::uint32_t length, std::uint32_t block_size) {
  return static_cast<std::uint32_t>((std::uint64_t{length} + 7) / block_size + 1);
}

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_FILE_LAYOUT_H_
