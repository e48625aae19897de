// Reads small pieces of a file through a few chunks that stay in memory.
#ifndef VQDBSYS_CHECK_CHUNK_READER_H_
#define VQDBSYS_CHECK_CHUNK_READER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "check/held_file.h"
#include "platform/memory.h"

namespace vqdb::check {

class ChunkReader {
 public:
  explicit ChunkReader(HeldFile& file) : file_(file) {}

  // Detail 6603 without memory.
  Result start(std::size_t chunks);
  // Detail 6601 when the file ends before.
  Result read(std::uint64_t offset, void* data, std::size_t size);

 private:
  struct Chunk {
    std::uint64_t number = UINT64_MAX;
    std::size_t size = 0;
  };

  Result load(std::uint64_t number, std::size_t& slot);

  HeldFile& file_;
  std::vector<Chunk> chunks_;
  platform::Bytes bytes_;
};

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_CHUNK_READER_H_
