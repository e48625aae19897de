#include "index/open/file_copy.h"

#include <array>

#include "frame/bytes.h"
#include "frame/file_name.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "table/locks.h"

namespace vqdb::index {
namespace {

Result copy_bytes(VqBlock& block, platform::File& source, platform::File& target,
                  Operation operation) {
  std::array<Byte, platform::kChunkBytes> chunk;
  for (std::uint64_t at = 0;;) {
    std::size_t read = 0;
    const auto got = source.read_at(at, chunk.data(), chunk.size(), read);
    if (!got.ok()) return fail(block, transfer_result(got), operation.detail(4));
    if (read == 0) return Result::ok;
    const auto put = target.write_at(at, chunk.data(), read);
    if (!put.ok()) return fail(block, transfer_result(put), operation.detail(5));
    at += read;
  }
}

}  // namespace

// The copy is made beside the target and takes its place when it is complete.
Result copy_index_file(VqBlock& block, std::string_view from, std::string_view to,
                       std::string_view extension, Operation operation) {
  const std::string source_path = path_of(from, extension);
  const std::string target_path = path_of(to, extension);
  if (source_path == target_path || platform::may_be_same_file(source_path, target_path)) {
    return fail(block, Result::not_allowed, operation.detail(2));
  }
  platform::File source;
  if (const Result result = open_file(block, source_path, open_mode::kReadOnly, source);
      !ok(result)) {
    return result;
  }
  platform::File replaced;
  if (const Result result = table::claim_file_at(block, target_path, replaced, operation.detail(3));
      !ok(result)) {
    return result;
  }
  TemporaryFile growing;
  const auto made = growing.make_beside(target_path);
  if (!made.ok()) return fail(block, open_result(made.error), operation.detail(3));
  if (const Result result = copy_bytes(block, source, growing.file(), operation); !ok(result))
    return result;
  const auto placed = growing.put_in_place(&replaced);
  return placed.ok() ? Result::ok : fail(block, Result::io, operation.detail(6));
}

}  // namespace vqdb::index
