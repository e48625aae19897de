#include <array>

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "index/ndx_open.h"

namespace vqdb::index {
namespace {

constexpr Operation kCopy{301};

Result copy_bytes(VqBlock& block, platform::File& source, platform::File& target) {
  std::array<Byte, platform::kChunkBytes> chunk;
  for (std::uint64_t at = 0;;) {
    std::size_t read = 0;
    const auto got = source.read_at(at, chunk.data(), chunk.size(), read);
    if (!got.ok()) return fail(block, transfer_result(got), kCopy.detail(4));
    if (read == 0) return Result::ok;
    const auto put = target.write_at(at, chunk.data(), read);
    if (!put.ok()) return fail(block, transfer_result(put), kCopy.detail(5));
    at += read;
  }
}

}  // namespace

// The copy is made beside the target and takes its place when it is complete.
Result copy_ndx(VqBlock& block, std::string_view from, std::string_view to) {
  const std::string source_path = path_of(from, "NDX");
  const std::string target_path = path_of(to, "NDX");
  if (source_path == target_path) return fail(block, Result::not_allowed, kCopy.detail(2));
  platform::File source;
  if (const Result result = open_file(block, source_path, open_mode::kReadOnly, source);
      !ok(result)) {
    return result;
  }
  const std::string growing_path = target_path + "$";
  platform::File target;
  if (const auto made = target.create(growing_path, platform::Creation::truncate); !made.ok()) {
    return fail(block, open_result(made.error), kCopy.detail(3));
  }
  Result result = copy_bytes(block, source, target);
  const auto closed = target.close();
  if (ok(result) && !closed.ok()) result = fail(block, Result::io, kCopy.detail(5));
  if (ok(result) && !platform::replace(growing_path, target_path).ok()) {
    result = fail(block, Result::io, kCopy.detail(6));
  }
  if (!ok(result)) static_cast<void>(platform::remove(growing_path));
  return result;
}

}  // namespace vqdb::index
