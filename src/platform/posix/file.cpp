#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "platform/fault.h"

namespace vqdb::platform {
namespace {

Outcome outcome_of(int number) {
  switch (number) {
    case 0:
      return {};
    case ENOENT:
    case ENOTDIR:
      return {Error::not_found, number};
    case EEXIST:
      return {Error::already_exists, number};
    case EMFILE:
    case ENFILE:
      return {Error::too_many_open, number};
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      return {Error::access_denied, number};
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return {Error::disk_full, number};
    case EAGAIN:
      return {Error::lock_refused, number};
    case EXDEV:
      return {Error::other_device, number};
    default:
      return {Error::other, number};
  }
}

Outcome last_error() { return outcome_of(errno); }

int retry_open(const std::string& path, int flags) {
  int fd = -1;
  do {
    fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

Outcome injected(Call call) {
  return outcome_of(call == Call::write || call == Call::create ? ENOSPC : EIO);
}

bool denied(int number) { return number == EACCES || number == EPERM || number == EROFS; }

// Whether a call may go on; cut_short leaves the decision to the transfer.
bool struck(Call call) { return verdict(call) != Verdict::go_on; }

std::size_t total_size(std::span<const Piece> pieces) {
  std::size_t total = 0;
  for (const Piece& piece : pieces) total += piece.size;
  return total;
}

// One gathering or scattering transfer. Returns the bytes moved, or -1 with errno set.
template <typename Transfer>
ssize_t transfer_pieces(std::span<const Piece> pieces, Transfer transfer) {
  std::array<iovec, kMaxPieces> vectors;
  const std::size_t count = std::min(pieces.size(), vectors.size());
  for (std::size_t i = 0; i < count; ++i) vectors[i] = {pieces[i].data, pieces[i].size};
  ssize_t moved = 0;
  do {
    moved = transfer(vectors.data(), static_cast<int>(count));
  } while (moved < 0 && errno == EINTR);
  return moved;
}

// Byte-range locks that belong to the open file, not to the process.
Outcome set_lock(int fd, short kind, std::uint64_t offset, std::uint64_t length) {
  struct flock range = {};
  range.l_type = kind;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(offset);
  range.l_len = static_cast<off_t>(length);
  if (::fcntl(fd, F_OFD_SETLK, &range) == 0) return {};
  if (errno == EBADF && kind == F_WRLCK) {  // open for reading only
    range.l_type = F_RDLCK;
    if (::fcntl(fd, F_OFD_SETLK, &range) == 0) return {};
  }
  const int number = errno;
  if (number == EACCES) return {Error::lock_refused, number};
  return outcome_of(number);
}

}  // namespace

File::~File() {
  if (is_open()) ::close(static_cast<int>(handle_));
}

File::File(File&& other) noexcept : handle_(std::exchange(other.handle_, kNoHandle)) {}

File& File::operator=(File&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

Outcome File::open(const std::string& path, Access access) {
  if (struck(Call::open)) return injected(Call::open);
  int fd = -1;
  if (access != Access::read_only) {
    fd = retry_open(path, O_RDWR);
    if (fd < 0 && (access == Access::read_write || !denied(errno))) return last_error();
  }
  if (fd < 0) fd = retry_open(path, O_RDONLY);
  if (fd < 0) return last_error();
  struct stat about = {};
  if (::fstat(fd, &about) == 0 && S_ISDIR(about.st_mode)) {
    ::close(fd);
    return outcome_of(EISDIR);
  }
  handle_ = fd;
  return {};
}

Outcome File::create(const std::string& path, Creation creation) {
  if (struck(Call::create)) return injected(Call::create);
  const int how = creation == Creation::truncate ? O_TRUNC : O_EXCL;
  const int fd = retry_open(path, O_RDWR | O_CREAT | how);
  if (fd < 0) return last_error();
  handle_ = fd;
  return {};
}

Outcome File::close() {
  if (!is_open()) return {};
  const bool fails = struck(Call::close);
  const int result = ::close(static_cast<int>(std::exchange(handle_, kNoHandle)));
  if (fails) return injected(Call::close);
  return result == 0 ? Outcome{} : last_error();
}

Outcome File::read_at(std::uint64_t offset, void* data, std::size_t size,
                      std::size_t& transferred) {
  auto* bytes = static_cast<char*>(data);
  transferred = 0;
  while (transferred < size) {
    const std::size_t chunk = std::min(size - transferred, kChunkBytes);
    const Piece piece{bytes + transferred, chunk};
    std::size_t moved = 0;
    const Outcome outcome = read_pieces(offset + transferred, {&piece, 1}, moved);
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

Outcome File::write_at(std::uint64_t offset, const void* data, std::size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  for (std::size_t done = 0; done < size;) {
    const std::size_t chunk = std::min(size - done, kChunkBytes);
    const Piece piece{const_cast<char*>(bytes + done), chunk};
    const Outcome outcome = write_pieces(offset + done, {&piece, 1});
    if (!outcome.ok()) return outcome;
    done += chunk;
  }
  return {};
}

Outcome File::read_pieces(std::uint64_t offset, std::span<const Piece> pieces,
                          std::size_t& transferred) {
  transferred = 0;
  const Verdict seam = verdict(Call::read);
  if (seam == Verdict::fail) return injected(Call::read);
  const int fd = static_cast<int>(handle_);
  const ssize_t moved =
      pieces.size() == 1
          ? ::pread(fd, pieces[0].data, pieces[0].size, static_cast<off_t>(offset))
          : transfer_pieces(pieces, [&](const iovec* vectors, int count) {
              return ::preadv(fd, vectors, count, static_cast<off_t>(offset));
            });
  if (moved < 0) return last_error();
  transferred = static_cast<std::size_t>(moved);
  if (seam == Verdict::cut_short) transferred /= 2;
  return {};
}

Outcome File::write_pieces(std::uint64_t offset, std::span<const Piece> pieces) {
  const Verdict seam = verdict(Call::write);
  if (seam == Verdict::fail) return injected(Call::write);
  const int fd = static_cast<int>(handle_);
  if (seam == Verdict::cut_short) {
    const ssize_t half = ::pwrite(fd, pieces[0].data, pieces[0].size / 2,
                                  static_cast<off_t>(offset));
    return half < 0 ? last_error() : Outcome{Error::short_transfer, 0};
  }
  const ssize_t moved =
      pieces.size() == 1
          ? ::pwrite(fd, pieces[0].data, pieces[0].size, static_cast<off_t>(offset))
          : transfer_pieces(pieces, [&](const iovec* vectors, int count) {
              return ::pwritev(fd, vectors, count, static_cast<off_t>(offset));
            });
  if (moved < 0) return last_error();
  const bool complete = static_cast<std::size_t>(moved) == total_size(pieces);
  return complete ? Outcome{} : Outcome{Error::short_transfer, 0};
}

Outcome File::size(std::uint64_t& bytes) {
  if (struck(Call::size)) return injected(Call::size);
  struct stat about = {};
  if (::fstat(static_cast<int>(handle_), &about) != 0) return last_error();
  bytes = static_cast<std::uint64_t>(about.st_size);
  return {};
}

Outcome File::sync() {
  if (struck(Call::sync)) return injected(Call::sync);
  return ::fdatasync(static_cast<int>(handle_)) == 0 ? Outcome{} : last_error();
}

Outcome File::lock(std::uint64_t offset, std::uint64_t length) {
  if (struck(Call::lock)) return injected(Call::lock);
  return set_lock(static_cast<int>(handle_), F_WRLCK, offset, length);
}

Outcome File::unlock(std::uint64_t offset, std::uint64_t length) {
  if (struck(Call::unlock)) return injected(Call::unlock);
  return set_lock(static_cast<int>(handle_), F_UNLCK, offset, length);
}

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

Outcome remove(const std::string& path) {
  if (struck(Call::remove)) return injected(Call::remove);
  return ::unlink(path.c_str()) == 0 ? Outcome{} : last_error();
}

Outcome rename(const std::string& from, const std::string& to) {
  if (struck(Call::rename)) return injected(Call::rename);
  return ::rename(from.c_str(), to.c_str()) == 0 ? Outcome{} : last_error();
}

Outcome replace(const std::string& from, const std::string& to) {
  if (struck(Call::replace)) return injected(Call::replace);
  return ::rename(from.c_str(), to.c_str()) == 0 ? Outcome{} : last_error();
}

}  // namespace vqdb::platform
