#include "platform/file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "platform/fault.h"
#include "platform/system_calls.h"

namespace vqdb::platform {
namespace {

// Far behind the data and the locked bytes of every file.
constexpr std::uint64_t kWorkByte = std::uint64_t{1} << 62;

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

// The first half of the bytes, as pieces.
std::span<const Piece> first_half(std::span<const Piece> pieces,
                                  std::array<Piece, kMaxPieces>& half) {
  std::size_t left = total_size(pieces) / 2;
  std::size_t count = 0;
  for (; count < pieces.size() && left > 0; ++count) {
    half[count] = {pieces[count].data, std::min(pieces[count].size, left)};
    left -= half[count].size;
  }
  return std::span(half).first(count);
}

// Few bytes are copied together sooner than a system takes them in pieces.
Outcome write_together(system::Handle file, std::uint64_t offset, std::span<const Piece> pieces,
                       std::size_t& moved) {
  constexpr std::size_t kFewBytes = 1024;
  const std::size_t size = total_size(pieces);
  if (pieces.size() == 1) return system::write_file(file, offset, pieces[0].data, size, moved);
  if (size > kFewBytes) return system::write_pieces(file, offset, pieces, moved);
  std::array<char, kFewBytes> bytes;
  std::size_t filled = 0;
  for (const Piece& piece : pieces) {
    if (piece.size != 0) std::memcpy(bytes.data() + filled, piece.data, piece.size);
    filled += piece.size;
  }
  return system::write_file(file, offset, bytes.data(), size, moved);
}

// One read through the seam: `system` (moved) does it.
template <typename System>
Outcome read_once(std::size_t& moved, System system) {
  moved = 0;
  const Verdict seam = verdict(Call::read);
  if (seam == Verdict::fail) return injected(Call::read);
  const Outcome outcome = system(moved);
  if (seam == Verdict::cut_short) moved /= 2;
  return outcome;
}

// What a write comes to that should move so many bytes.
Outcome complete_write(const Outcome& outcome, std::size_t moved, std::size_t size) {
  if (!outcome.ok() || moved == size) return outcome;
  return {Error::short_transfer, 0};
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

Outcome File::open_replaceable(const std::string& path) {
  return pass(Call::open, [&] { return system::open_removable(path, handle_); });
}

Outcome File::create(const std::string& path, Creation creation) {
  return pass(Call::create, [&] { return system::create_file(path, creation, handle_); });
}

// The maker of a replacement holds its lock for as long as it lives. Somebody else may come between
// making and locking, take the file for abandoned and remove it: already_exists, lock_refused.
Outcome File::hold_work(const std::string& path) {
  const Outcome locked = lock(kWorkByte, 1, Sharing::exclusive);
  if (!locked.ok()) return locked;
  return is_at(path) ? Outcome{} : Outcome{Error::already_exists, 0};
}

bool File::is_at(const std::string& path) {
  FileIdentity here;
  FileIdentity there;
  return system::file_identity(handle_, here).ok() && system::path_identity(path, there).ok() &&
         here == there;
}

Outcome File::create_replacement(const std::string& path, const std::string& replaced) {
  const Outcome made =
      pass(Call::create, [&] { return system::create_replacement(path, replaced, handle_); });
  if (!made.ok()) return made;
  const Error held = hold_work(path).error;
  // Where the system has no locks, nobody takes the file for abandoned.
  if (held != Error::lock_refused && held != Error::already_exists) return {};
  static_cast<void>(system::close_file(std::exchange(handle_, kNoHandle)));
  return {Error::already_exists, 0};
}

Outcome File::create_scratch(const std::string& path) {
  return pass(Call::create, [&] { return system::create_scratch(path, handle_); });
}

Outcome File::open_abandoned(const std::string& path) {
  const Outcome opened = open_replaceable(path);
  return opened.ok() ? hold_work(path) : opened;
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
    const std::size_t chunk = std::min(size - transferred, kChunkBytes);
    std::size_t moved = 0;
    const Outcome outcome = read_once(moved, [&](std::size_t& count) {
      return system::read_file(handle_, offset + transferred, bytes + transferred, chunk, count);
    });
    transferred += moved;
    if (!outcome.ok()) return outcome;
    if (moved < chunk) break;
  }
  return {};
}

Outcome File::read_exactly(std::uint64_t offset, void* data, std::size_t size) {
  std::size_t transferred = 0;
  const Outcome outcome = read_at(offset, data, size, transferred);
  if (!outcome.ok()) return outcome;
  return transferred == size ? Outcome{} : Outcome{Error::short_transfer, 0};
}

Outcome File::write_at(std::uint64_t offset, const void* data, std::size_t size,
                       std::size_t* transferred) {
  const auto* bytes = static_cast<const char*>(data);
  std::size_t done = 0;
  Outcome outcome;
  while (done < size && outcome.ok()) {
    const std::size_t chunk = std::min(size - done, kChunkBytes);
    const Verdict seam = verdict(Call::write);
    const std::size_t sent = seam == Verdict::cut_short ? chunk / 2 : chunk;
    std::size_t moved = 0;
    outcome = seam == Verdict::fail
                  ? injected(Call::write)
                  : system::write_file(handle_, offset + done, bytes + done, sent, moved);
    outcome = complete_write(outcome, moved, chunk);
    done += moved;
  }
  if (transferred != nullptr) *transferred = done;
  return outcome;
}

Outcome File::read_pieces(std::uint64_t offset, std::span<const Piece> pieces,
                          std::size_t& transferred) {
  return read_once(transferred, [&](std::size_t& moved) {
    return system::read_pieces(handle_, offset, pieces, moved);
  });
}

Outcome File::write_pieces(std::uint64_t offset, std::span<const Piece> pieces,
                           std::size_t* transferred) {
  const Verdict seam = verdict(Call::write);
  std::array<Piece, kMaxPieces> half;
  const auto sent = seam == Verdict::cut_short ? first_half(pieces, half) : pieces;
  std::size_t moved = 0;
  const Outcome outcome =
      seam == Verdict::fail ? injected(Call::write) : write_together(handle_, offset, sent, moved);
  if (transferred != nullptr) *transferred = moved;
  return complete_write(outcome, moved, total_size(pieces));
}

Outcome File::size(std::uint64_t& bytes) {
  return pass(Call::size, [&] { return system::file_size(handle_, bytes); });
}

Outcome File::known_size(std::uint64_t& bytes) {
  return pass(Call::size, [&] { return system::file_end(handle_, bytes); });
}

Outcome File::identity(FileIdentity& identity) {
  return pass(Call::size, [&] { return system::file_identity(handle_, identity); });
}

Outcome File::names(std::uint32_t& count) {
  return pass(Call::size, [&] { return system::count_names(handle_, count); });
}

Outcome File::truncate(std::uint64_t bytes) {
  return pass(Call::write, [&] { return system::truncate_file(handle_, bytes); });
}

Outcome File::sync() {
  return pass(Call::sync, [&] { return system::sync_file(handle_); });
}

Outcome File::lock(std::uint64_t offset, std::uint64_t length, Sharing sharing) {
  return pass(Call::lock, [&] { return system::lock_range(handle_, offset, length, sharing); });
}

Outcome File::unlock(std::uint64_t offset, std::uint64_t length) {
  return pass(Call::unlock, [&] { return system::unlock_range(handle_, offset, length); });
}

Outcome File::test_lock(std::uint64_t offset, std::uint64_t length, Sharing sharing) {
  return pass(Call::lock, [&] { return system::test_range(handle_, offset, length, sharing); });
}

bool File::notes_changes() { return !struck(Call::size) && system::notes_changes(handle_); }

Outcome File::last_change(LastChange& change) {
  return pass(Call::size, [&] { return system::last_change(handle_, change); });
}

bool exists(const std::string& path) { return struck(Call::look) || system::exists(path); }

Outcome same_file(const std::string& a, const std::string& b, bool& same) {
  FileIdentity of_a;
  FileIdentity of_b;
  Outcome known = pass(Call::look, [&] { return system::path_identity(a, of_a); });
  if (known.ok()) known = system::path_identity(b, of_b);
  same = known.ok() && of_a == of_b;
  return known.error == Error::not_found ? Outcome{} : known;
}

bool may_be_same_file(const std::string& a, const std::string& b) {
  bool same = false;
  return !same_file(a, b, same).ok() || same;
}

Outcome real_path(const std::string& path, std::string& real) {
  return pass(Call::look, [&] { return system::real_path(path, real); });
}

Outcome remove(const std::string& path) {
  return pass(Call::remove, [&] { return system::remove_file(path); });
}

bool remove_abandoned(const std::string& path) {
  File file;
  return file.open_abandoned(path).ok() && remove(path).ok();
}

Outcome replace(const std::string& from, const std::string& to, Replaced old) {
  return pass(Call::replace, [&] { return system::replace_file(from, to, old); });
}

Outcome rename_if_free(const std::string& from, const std::string& to) {
  return pass(Call::replace, [&] { return system::rename_if_free(from, to); });
}

}  // namespace vqdb::platform
