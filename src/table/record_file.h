// The file of an open table as an array of records grouped into blocks: where each record lies,
// and how many there are.
#ifndef VQDBSYS_TABLE_RECORD_FILE_H_
#define VQDBSYS_TABLE_RECORD_FILE_H_

#include <cstdint>

#include "platform/file.h"

namespace vqdb::table {

// No table is longer: from here on lie locked bytes. Some lock schemes end tables earlier.
inline constexpr std::uint64_t kMaxTableBytes = 0xEFFFFFFE;

inline constexpr char kEndMark = 0x1A;

// Bytes per block for records of this length: blocks of one to thirty-two kilobytes that hold
// whole records.
constexpr std::uint32_t block_size_for(std::uint32_t record_length) {
  if (record_length >= 8192) return record_length;
  const std::uint32_t room = (record_length / 256 + 1) * 1024;
  return room / record_length * record_length;
}

struct RecordFile {
  platform::File file;
  std::uint32_t header_length = 0;
  std::uint32_t record_length = 1;
  std::uint32_t block_size = 0;
  std::uint32_t records_per_block = 1;
  std::uint32_t count = 0;  // records, as far as this handle knows

  std::uint64_t offset_of(std::uint32_t recno) const {
    return header_length + std::uint64_t{recno - 1} * record_length;
  }
  // Blocks count from 1.
  std::uint32_t block_of(std::uint32_t recno) const { return (recno - 1) / records_per_block + 1; }
  std::uint32_t first_of(std::uint32_t block) const { return (block - 1) * records_per_block + 1; }
  std::uint32_t last_block() const { return count == 0 ? 1 : block_of(count); }
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_RECORD_FILE_H_
