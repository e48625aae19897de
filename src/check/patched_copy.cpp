#include "check/patched_copy.h"

#include <algorithm>
#include <cstring>

#include "check/operations.h"
#include "frame/file_name.h"
#include "frame/progress.h"
#include "frame/replacements.h"
#include "frame/system_file.h"
#include "platform/memory.h"
#include "platform/path.h"

namespace vqdb::check {
namespace {

constexpr std::size_t kAtOnce = std::size_t{256} << 10;
constexpr std::uint32_t kMostBackups = 1000;

// Lays what a patch has for the bytes from `start` on over them.
void lay_over(const Patch& patch, std::uint64_t start, std::span<Byte> bytes) {
  const std::uint64_t first = std::max(patch.offset, start);
  const std::uint64_t end = std::min(patch.end(), start + bytes.size());
  if (first >= end) return;
  std::memcpy(bytes.data() + (first - start), patch.bytes.data() + (first - patch.offset),
              static_cast<std::size_t>(end - first));
}

// Copies a stretch; `change` sees each piece, with its offset, on the way.
template <typename Change>
Result copy_stretch(HeldFile& from, std::uint64_t offset, std::uint64_t size, platform::File& to,
                    std::uint64_t target, Change change) {
  VqBlock& block = from.block();
  const auto at_once = static_cast<std::size_t>(std::min<std::uint64_t>(size, kAtOnce));
  const platform::Bytes room = platform::allocate_bytes(at_once);
  if (room == nullptr) return fail(block, Result::no_memory, kRepair.detail(3));
  for (std::uint64_t done = 0; done < size;) {
    const std::span<Byte> piece(
        room.get(), static_cast<std::size_t>(std::min<std::uint64_t>(size - done, at_once)));
    const Result result = from.read(offset + done, piece.data(), piece.size());
    if (!ok(result)) return result;
    change(offset + done, piece);
    if (!to.write_at(target + done, piece.data(), piece.size()).ok()) {
      return fail(block, Result::io, kRepair.detail(1));
    }
    done += piece.size();
    if (cancelled(block, 0, 0)) return fail(block, Result::cancelled, kCancelledDetail);
  }
  return Result::ok;
}

}  // namespace

void sort_patches(std::vector<Patch>& patches) {
  std::sort(patches.begin(), patches.end(),
            [](const Patch& a, const Patch& b) { return a.offset < b.offset; });
}

Result write_patched(HeldFile& from, std::uint64_t size, std::span<const Patch> patches,
                     platform::File& to) {
  std::size_t next = 0;
  return copy_stretch(from, 0, size, to, 0, [&](std::uint64_t start, std::span<Byte> bytes) {
    while (next < patches.size() && patches[next].end() <= start) ++next;
    for (std::size_t i = next; i < patches.size() && patches[i].offset < start + bytes.size();
         ++i) {
      lay_over(patches[i], start, bytes);
    }
  });
}

Result write_patches_behind(HeldFile& from, std::uint64_t size, std::span<const Patch> patches,
                            platform::File& to) {
  for (const Patch& patch : patches) {
    if (patch.end() <= size) continue;
    if (!to.write_at(patch.offset, patch.bytes.data(), patch.bytes.size()).ok()) {
      return fail(from.block(), Result::io, kRepair.detail(1));
    }
  }
  return Result::ok;
}

Result write_again(HeldFile& from, std::uint64_t offset, std::uint64_t size, platform::File& to,
                   std::uint64_t target) {
  return copy_stretch(from, offset, size, to, target, [](std::uint64_t, std::span<Byte>) {});
}

Result Backup::make(HeldFile& file, const char* directory) {
  VqBlock& block = file.block();
  std::string path = file.path();
  if (directory != nullptr && *directory != '\0') {
    path.erase(0, directory_of(path).size());
    const bool ended =
        std::string_view("\\/:").find(std::string_view(directory).back()) != std::string_view::npos;
    path.insert(0, ended ? std::string(directory) : std::string(directory) + platform::separator());
  }
  // Grows under another name: what has a backup's name is whole, also after a crash.
  const GrowingPath growing(path);
  platform::File copy;
  const platform::Outcome made = copy.create_replacement(growing.get(), file.path());
  if (!made.ok()) return fail(block, open_result(made.error), kRepair.detail(2));
  Result result = write_again(file, 0, file.size(), copy, 0);
  const bool kept = copy.sync().ok();
  const bool closed = copy.close().ok();
  if (ok(result) && !(kept && closed)) result = fail(block, Result::io, kRepair.detail(1));
  return ok(result) ? give_name(block, growing.get(), path) : result;
}

Result Backup::give_name(VqBlock& block, const std::string& growing, const std::string& path) {
  platform::Outcome named = {platform::Error::already_exists, 0};
  for (std::uint32_t number = 0;
       number < kMostBackups && named.error == platform::Error::already_exists; ++number) {
    path_ = path + (number == 0 ? ".BAK" : ".BA" + std::to_string(number));
    named = platform::rename_if_free(growing, path_);
  }
  is_made_ = named.ok();
  return is_made_ ? Result::ok : fail(block, open_result(named.error), kRepair.detail(2));
}

void Backup::report(FileFindings& findings) const {
  if (!is_made_) return;
  findings.add(VQ_F_BACKUP, {.name = path_.c_str()}, "The file as it was is kept as " + path_);
}

void Backup::discard() {
  if (is_made_) (void)platform::remove(path_);
  is_made_ = false;
}

}  // namespace vqdb::check
