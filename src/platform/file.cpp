#include "platform/file.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/fault.h"
#include "platform/system_calls.h"

namespace vqdb::platform {
namespace {

// What the seam's failures look like: a full disk where something is written, a bad device
// elsewhere.
Outcome injected(Call call) {
  constexpr Outcome kFullDisk{Error::disk_full, 28};
  constexpr Outcome kBadDevice{Error::other, 5};
  return call == Call::write || call == Call::create ? kFullDisk : kBadDevice;
}

bool struck(Call call) { return verdict(call) != Verdict::go_on; }

// The call, unless the seam fails it first.
template <typename System>
Outcome pass(Call call, System system) {
  return struck(call) ? injected(call) : system();
}

std::size_t total_size(std::span<const Piece> pieces) {
  std::size_t total = 0;
  for (const Piece& piece : pieces) total += piece.size;
  return total;
}

// Writes the first half of the bytes and reports nothing but that.
Outcome write_half(system::Handle file, std::uint64_t offset, std::span<const Piece> pieces) {
  std::array<Piece, kMaxPieces> half;
  std::size_t left = total_size(pieces) / 2;
  std::size_t count = 0;
  for (; count < pieces.size() && left > 0; ++count) {
    half[count] = {pieces[count].data, std::min(pieces[count].size, left)};
    left -= half[count].size;
  }
  std::size_t moved = 0;
  const Outcome outcome = system::write_file(file, offset, std::span(half).first(count), moved);
  return outcome.ok() ? Outcome{Error::short_transfer, 0} : outcome;
}

}  // namespace

File::~File() {
  if (is_open()) static_cast<void>(system::close_file(handle_));
}

File::File(File&& other) noexcept : handle_(std::exchange(other.handle_, kNoHandle)) {}

File& File::operator=(File&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

Outcome File::open(const std::string& path, Access access) {
  if (struck(Call::open)) return injected(Call::open);
  Outcome outcome = system::open_file(path, access != Access::read_only, handle_);
  if (outcome.error == Error::access_denied && access == Access::read_write_or_read) {
    outcome = system::open_file(path, false, handle_);
  }
  return outcome;
}

Outcome File::create(const std::string& path, Creation creation) {
  return pass(Call::create, [&] { return system::create_file(path, creation, handle_); });
}

Outcome File::close() {
  if (!is_open()) return {};
  const bool fails = struck(Call::close);
  const Outcome outcome = system::close_file(std::exchange(handle_, kNoHandle));
  return fails ? injected(Call::close) : outcome;
}

Outcome File::read_at(std::uint64_t offset, void* data, std::size_t size,
                      std::size_t& transferred) {
  auto* bytes = static_cast<char*>(data);
  transferred = 0;
  while (transferred < size) {
    const Piece chunk{bytes + transferred, std::min(size - transferred, kChunkBytes)};
    std::size_t moved = 0;
    const Outcome outcome = read_pieces(offset + transferred, {&chunk, 1}, moved);
    transferred += moved;
    if (!outcome.ok()) return outcome;
    if (moved < chunk.size) break;
  }
  return {};
}

Outcome File::read_exactly(std::uint64_t offset, void* data, std::size_t size) {
  std::size_t transferred = 0;
  const Outcome outcome = read_at(offset, data, size, transferred);
  if (!outcome.ok()) return outcome;
  return transferred == size ? Outcome{} : Outcome{Error::short_transfer, 0};
}

Outcome File::write_at(std::uint64_t offset, const void* data, std::size_t size) {
  auto* bytes = static_cast<char*>(const_cast<void*>(data));
  for (std::size_t done = 0; done < size;) {
    const Piece chunk{bytes + done, std::min(size - done, kChunkBytes)};
    const Outcome outcome = write_pieces(offset + done, {&chunk, 1});
    if (!outcome.ok()) return outcome;
    done += chunk.size;
  }
  return {};
}

Outcome File::read_pieces(std::uint64_t offset, std::span<const Piece> pieces,
                          std::size_t& transferred) {
  transferred = 0;
  const Verdict seam = verdict(Call::read);
  if (seam == Verdict::fail) return injected(Call::read);
  const Outcome outcome = system::read_file(handle_, offset, pieces, transferred);
  if (seam == Verdict::cut_short) transferred /= 2;
  return outcome;
}

Outcome File::write_pieces(std::uint64_t offset, std::span<const Piece> pieces) {
  const Verdict seam = verdict(Call::write);
  if (seam == Verdict::fail) return injected(Call::write);
  if (seam == Verdict::cut_short) return write_half(handle_, offset, pieces);
  std::size_t moved = 0;
  const Outcome outcome = system::write_file(handle_, offset, pieces, moved);
  if (!outcome.ok()) return outcome;
  return moved == total_size(pieces) ? Outcome{} : Outcome{Error::short_transfer, 0};
}

Outcome File::size(std::uint64_t& bytes) {
  return pass(Call::size, [&] { return system::file_size(handle_, bytes); });
}

Outcome File::sync() {
  return pass(Call::sync, [&] { return system::sync_file(handle_); });
}

Outcome File::lock(std::uint64_t offset, std::uint64_t length) {
  return pass(Call::lock, [&] { return system::lock_range(handle_, offset, length); });
}

Outcome File::unlock(std::uint64_t offset, std::uint64_t length) {
  return pass(Call::unlock, [&] { return system::unlock_range(handle_, offset, length); });
}

Outcome remove(const std::string& path) {
  return pass(Call::remove, [&] { return system::remove_file(path); });
}

Outcome rename(const std::string& from, const std::string& to) {
  return pass(Call::rename, [&] { return system::rename_file(from, to); });
}

Outcome replace(const std::string& from, const std::string& to) {
  return pass(Call::replace, [&] { return system::replace_file(from, to); });
}

}  // namespace vqdb::platform
