#include "platform/file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform/system_calls.h"

namespace vqdb::platform {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

constexpr std::uint32_t kXfs = 0x58465342;  // magic.h leaves it out
constexpr std::array<std::uint32_t, 4> kLocalSystems = {EXT4_SUPER_MAGIC, kXfs, BTRFS_SUPER_MAGIC,
                                                        TMPFS_MAGIC};

constexpr int kMostLinks = 40;  // that lead from one to the next

struct Meaning {
  int number;
  Error error;
};
constexpr std::array<Meaning, 14> kMeanings = {{{0, Error::none},
                                                {ENOENT, Error::not_found},
                                                {ENOTDIR, Error::not_found},
                                                {EEXIST, Error::already_exists},
                                                {EMFILE, Error::too_many_open},
                                                {ENFILE, Error::too_many_open},
                                                {EACCES, Error::access_denied},
                                                {EPERM, Error::access_denied},
                                                {EROFS, Error::access_denied},
                                                {EISDIR, Error::access_denied},
                                                {ENOSPC, Error::disk_full},
                                                {EDQUOT, Error::disk_full},
                                                {EFBIG, Error::disk_full},
                                                {EXDEV, Error::other_device}}};

Outcome outcome_of(int number) {
  const auto* const found = std::ranges::find(kMeanings, number, &Meaning::number);
  return {found != kMeanings.end() ? found->error : Error::other, number};
}

Outcome outcome_if(bool succeeded) { return succeeded ? Outcome{} : outcome_of(errno); }

int descriptor(system::Handle file) { return static_cast<int>(file); }

// The call again for as long as a signal interrupts it.
template <typename SystemCall>
auto uninterrupted(SystemCall system_call) {
  for (;;) {
    const auto result = system_call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

Outcome open_descriptor(const std::string& path, int flags, system::Handle& file,
                        mode_t rights = 0666) {
  const int opened = uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, rights); });
  if (opened < 0) return outcome_of(errno);
  struct stat about = {};
  if (::fstat(opened, &about) == 0 && S_ISDIR(about.st_mode)) {
    ::close(opened);
    return outcome_of(EISDIR);
  }
  file = opened;
  return {};
}

// What a transfer moved, or why it moved nothing.
Outcome moved_by(ssize_t result, std::size_t& moved) {
  moved = result < 0 ? 0 : static_cast<std::size_t>(result);
  return outcome_if(result >= 0);
}

// Hands the pieces to `transfer` (vectors, count).
template <typename Transfer>
Outcome transfer_pieces(std::span<const Piece> pieces, std::size_t& moved, Transfer transfer) {
  std::array<iovec, kMaxPieces> vectors;
  const std::size_t count = std::min(pieces.size(), vectors.size());
  for (std::size_t i = 0; i < count; ++i) vectors[i] = {pieces[i].data, pieces[i].size};
  return moved_by(uninterrupted([&] { return transfer(vectors.data(), static_cast<int>(count)); }),
                  moved);
}

struct flock range_of(short kind, std::uint64_t offset, std::uint64_t length) {
  struct flock range = {};
  range.l_type = kind;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(offset);
  range.l_len = static_cast<off_t>(length);
  return range;
}

short kind_of(Sharing sharing) { return sharing == Sharing::shared ? F_RDLCK : F_WRLCK; }

// Byte-range locks that belong to the open file, not to the process.
Outcome set_lock(system::Handle file, short kind, std::uint64_t offset, std::uint64_t length) {
  struct flock range = range_of(kind, offset, length);
  if (::fcntl(descriptor(file), F_OFD_SETLK, &range) == 0) return {};
  if (errno == EBADF && kind == F_WRLCK) {  // open for reading only: keep writers out at least
    range.l_type = F_RDLCK;
    if (::fcntl(descriptor(file), F_OFD_SETLK, &range) == 0) return {};
  }
  const int number = errno;
  if (number == EACCES || number == EAGAIN) return {Error::lock_refused, number};
  return outcome_of(number);
}

// Whether there may be a file where looking along the path ended so. Whoever may not go along it,
// or loses the way, cannot open or make a file there either.
bool may_lead_to_a_file(int number) { return number == EIO || number == ENOMEM; }

FileIdentity identity_of(const struct stat& about) {
  return {static_cast<std::uint64_t>(about.st_dev), static_cast<std::uint64_t>(about.st_ino)};
}

bool has_several_names(const struct stat& about) {
  return S_ISREG(about.st_mode) && about.st_nlink > 1;
}

// What a link says, from the directory that it lies in; empty where there is no link.
std::string behind_link(const std::string& path) {
  std::string text(PATH_MAX, '\0');
  const ssize_t length = ::readlink(path.c_str(), text.data(), text.size());
  if (length <= 0) return {};
  text.resize(static_cast<std::size_t>(length));
  return text.front() == '/' ? text : path.substr(0, path.rfind('/') + 1) + text;
}

}  // namespace

namespace system {

Outcome open_file(const std::string& path, bool writable, Handle& file) {
  return open_descriptor(path, writable ? O_RDWR : O_RDONLY, file);
}

Outcome create_file(const std::string& path, Creation creation, Handle& file) {
  const int how = creation == Creation::truncate ? O_TRUNC : O_EXCL;
  return open_descriptor(path, O_RDWR | O_CREAT | how, file);
}

Outcome create_replacement(const std::string& path, const std::string& replaced, Handle& file) {
  constexpr int kNew = O_RDWR | O_CREAT | O_EXCL;
  struct stat about = {};
  if (::stat(replaced.c_str(), &about) != 0) return open_descriptor(path, kNew, file);
  if (::faccessat(AT_FDCWD, replaced.c_str(), W_OK, AT_EACCESS) != 0) return outcome_of(errno);
  if (has_several_names(about)) return {Error::linked, EMLINK};
  Outcome outcome = open_descriptor(path, kNew, file, 0600);
  if (!outcome.ok()) return outcome;
  const int made = descriptor(file);
  mode_t rights = about.st_mode & 0777;
  const bool kept_group = ::fchown(made, about.st_uid, about.st_gid) == 0 ||
                          ::fchown(made, static_cast<uid_t>(-1), about.st_gid) == 0;
  // Another group gets what everybody has.
  if (!kept_group) rights = (rights & 0707) | (rights & 0007) << 3;
  outcome = outcome_if(::fchmod(made, rights) == 0);
  if (outcome.ok()) return outcome;
  ::close(made);
  ::unlink(path.c_str());
  return outcome;
}

Outcome create_scratch(const std::string& path, Handle& file) {
  const Outcome outcome = open_descriptor(path, O_RDWR | O_CREAT | O_EXCL, file, 0600);
  if (outcome.ok()) ::unlink(path.c_str());
  return outcome;
}

Outcome open_removable(const std::string& path, Handle& file) {
  return open_descriptor(path, O_RDWR, file);
}

Outcome close_file(Handle file) { return outcome_if(::close(descriptor(file)) == 0); }

Outcome read_file(Handle file, std::uint64_t offset, void* data, std::size_t size,
                  std::size_t& moved) {
  const auto place = static_cast<off_t>(offset);
  return moved_by(uninterrupted([&] { return ::pread(descriptor(file), data, size, place); }),
                  moved);
}

Outcome write_file(Handle file, std::uint64_t offset, const void* data, std::size_t size,
                   std::size_t& moved) {
  const auto place = static_cast<off_t>(offset);
  return moved_by(uninterrupted([&] { return ::pwrite(descriptor(file), data, size, place); }),
                  moved);
}

Outcome read_pieces(Handle file, std::uint64_t offset, std::span<const Piece> pieces,
                    std::size_t& moved) {
  return transfer_pieces(pieces, moved, [&](const iovec* vectors, int count) {
    return ::preadv(descriptor(file), vectors, count, static_cast<off_t>(offset));
  });
}

Outcome write_pieces(Handle file, std::uint64_t offset, std::span<const Piece> pieces,
                     std::size_t& moved) {
  return transfer_pieces(pieces, moved, [&](const iovec* vectors, int count) {
    return ::pwritev(descriptor(file), vectors, count, static_cast<off_t>(offset));
  });
}

Outcome file_size(Handle file, std::uint64_t& bytes) {
  struct stat about = {};
  if (::fstat(descriptor(file), &about) != 0) return outcome_of(errno);
  bytes = static_cast<std::uint64_t>(about.st_size);
  return {};
}

// No transfer goes by the position that this moves.
Outcome file_end(Handle file, std::uint64_t& bytes) {
  const off_t end = ::lseek(descriptor(file), 0, SEEK_END);
  bytes = static_cast<std::uint64_t>(end);
  return outcome_if(end >= 0);
}

Outcome file_identity(Handle file, FileIdentity& identity) {
  struct stat about = {};
  if (::fstat(descriptor(file), &about) != 0) return outcome_of(errno);
  identity = identity_of(about);
  return {};
}

Outcome count_names(Handle file, std::uint32_t& count) {
  struct stat about = {};
  if (::fstat(descriptor(file), &about) != 0) return outcome_of(errno);
  count = static_cast<std::uint32_t>(about.st_nlink);
  return {};
}

Outcome path_identity(const std::string& path, FileIdentity& identity) {
  struct stat about = {};
  if (::stat(path.c_str(), &about) != 0) {
    return may_lead_to_a_file(errno) ? outcome_of(errno) : Outcome{Error::not_found, errno};
  }
  identity = identity_of(about);
  return {};
}

Outcome truncate_file(Handle file, std::uint64_t bytes) {
  return outcome_if(::ftruncate(descriptor(file), static_cast<off_t>(bytes)) == 0);
}

Outcome sync_file(Handle file) { return outcome_if(::fdatasync(descriptor(file)) == 0); }

Outcome lock_range(Handle file, std::uint64_t offset, std::uint64_t length, Sharing sharing) {
  return set_lock(file, kind_of(sharing), offset, length);
}

Outcome unlock_range(Handle file, std::uint64_t offset, std::uint64_t length) {
  return set_lock(file, F_UNLCK, offset, length);
}

Outcome test_range(Handle file, std::uint64_t offset, std::uint64_t length, Sharing sharing) {
  struct flock range = range_of(kind_of(sharing), offset, length);
  if (::fcntl(descriptor(file), F_OFD_GETLK, &range) != 0) return outcome_of(errno);
  return range.l_type == F_UNLCK ? Outcome{} : Outcome{Error::lock_refused, EAGAIN};
}

// Where another machine may change the file, its times may come late.
bool notes_changes(Handle file) {
  struct statfs about = {};
  return ::fstatfs(descriptor(file), &about) == 0 &&
         std::ranges::find(kLocalSystems, static_cast<std::uint32_t>(about.f_type)) !=
             kLocalSystems.end();
}

Outcome last_change(Handle file, LastChange& change) {
  struct stat about = {};
  if (::fstat(descriptor(file), &about) != 0) return outcome_of(errno);
  change.time = std::int64_t{about.st_ctim.tv_sec} * kNanosecondsPerSecond + about.st_ctim.tv_nsec;
  change.size = static_cast<std::uint64_t>(about.st_size);
  return {};
}

bool exists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0 || may_lead_to_a_file(errno);
}

Outcome real_path(const std::string& path, std::string& real) {
  const auto release = [](char* text) { std::free(text); };
  real = path;
  for (int links = 0; links < kMostLinks; ++links) {
    const std::unique_ptr<char, decltype(release)> found(::realpath(real.c_str(), nullptr),
                                                         release);
    const Outcome outcome = outcome_if(found != nullptr);
    if (found != nullptr) real = found.get();
    if (outcome.error != Error::not_found) return outcome;
    const std::string next = behind_link(real);
    if (next.empty()) return {};
    real = next;
  }
  real = path;
  return {};
}

Outcome remove_file(const std::string& path) { return outcome_if(::unlink(path.c_str()) == 0); }

// A directory that cannot be handed to the device costs the certainty, not the file.
void sync_directory_of(const std::string& path) {
  const std::string directory = path.substr(0, path.rfind('/') + 1);
  const int opened = ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_CLOEXEC);
  if (opened < 0) return;
  static_cast<void>(::fsync(opened));
  ::close(opened);
}

Outcome replace_file(const std::string& from, const std::string& to, Replaced replaced) {
  const int old = uninterrupted([&] { return ::open(to.c_str(), O_RDWR | O_CLOEXEC); });
  struct stat about = {};
  const bool is_linked = old >= 0 && ::fstat(old, &about) == 0 && has_several_names(about);
  Outcome outcome = is_linked ? Outcome{Error::linked, EMLINK}
                              : outcome_if(::rename(from.c_str(), to.c_str()) == 0);
  if (outcome.ok()) sync_directory_of(to);
  if (old < 0) return outcome;
  // A name that it was given meanwhile keeps what it holds.
  const bool is_gone = outcome.ok() && ::fstat(old, &about) == 0 && about.st_nlink == 0;
  if (is_gone && replaced == Replaced::emptied) static_cast<void>(::ftruncate(old, 0) == 0);
  ::close(old);
  return outcome;
}

// Not every kind of file system can refuse a taken name in a rename, and not every other one has
// hard links. Where neither is known the name is taken first, for a moment by an empty file.
Outcome rename_if_free(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    sync_directory_of(to);
    return {};
  }
  if (errno != EINVAL && errno != ENOSYS) return outcome_of(errno);
  if (::link(from.c_str(), to.c_str()) == 0) {
    ::unlink(from.c_str());
    sync_directory_of(to);
    return {};
  }
  if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS) return outcome_of(errno);
  Handle taken = -1;
  Outcome outcome = create_file(to, Creation::exclusive, taken);
  if (!outcome.ok()) return outcome;
  ::close(descriptor(taken));
  outcome = replace_file(from, to, Replaced::kept);
  if (!outcome.ok()) ::unlink(to.c_str());
  return outcome;
}

}  // namespace system
}  // namespace vqdb::platform
