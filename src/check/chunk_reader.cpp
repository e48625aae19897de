#include "check/chunk_reader.h"

#include <algorithm>
#include <cstring>

#include "check/operations.h"

namespace vqdb::check {
namespace {

constexpr std::size_t kChunk = platform::kChunkBytes;

}  // namespace

Result ChunkReader::start(std::size_t chunks) {
  chunks_.resize(chunks);
  bytes_ = platform::allocate_bytes(chunks * kChunk);
  return bytes_ != nullptr ? Result::ok : fail(file_.block(), Result::no_memory, kCheck.detail(3));
}

Result ChunkReader::load(std::uint64_t number, std::size_t& slot) {
  slot = static_cast<std::size_t>(number % chunks_.size());
  Chunk& chunk = chunks_[slot];
  if (chunk.number == number) return Result::ok;
  chunk.number = UINT64_MAX;
  const std::uint64_t offset = number * kChunk;
  const std::uint64_t left = file_.size() - std::min(file_.size(), offset);
  chunk.size = static_cast<std::size_t>(std::min<std::uint64_t>(left, kChunk));
  const Result result = file_.read(offset, bytes_.get() + slot * kChunk, chunk.size);
  if (ok(result)) chunk.number = number;
  return result;
}

Result ChunkReader::read(std::uint64_t offset, void* data, std::size_t size) {
  auto* out = static_cast<Byte*>(data);
  while (size > 0) {
    std::size_t slot = 0;
    if (const Result result = load(offset / kChunk, slot); !ok(result)) return result;
    const auto at = static_cast<std::size_t>(offset % kChunk);
    if (at >= chunks_[slot].size) return fail(file_.block(), Result::io, kCheck.detail(1));
    const std::size_t part = std::min(size, chunks_[slot].size - at);
    std::memcpy(out, bytes_.get() + slot * kChunk + at, part);
    out += part;
    offset += part;
    size -= part;
  }
  return Result::ok;
}

}  // namespace vqdb::check
