#include "platform/file.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "platform/system_calls.h"

namespace vqdb::platform {
namespace {

Outcome outcome_of(DWORD number) {
  const auto system_number = static_cast<std::int32_t>(number);
  switch (number) {
    case ERROR_SUCCESS:
      return {};
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return {Error::not_found, system_number};
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return {Error::already_exists, system_number};
    case ERROR_TOO_MANY_OPEN_FILES:
      return {Error::too_many_open, system_number};
    case ERROR_ACCESS_DENIED:
    case ERROR_INVALID_ACCESS:
    case ERROR_INVALID_DRIVE:
    case ERROR_WRITE_PROTECT:
    case ERROR_NOT_READY:
    case ERROR_SHARING_VIOLATION:
      return {Error::access_denied, system_number};
    case ERROR_HANDLE_DISK_FULL:
    case ERROR_DISK_FULL:
      return {Error::disk_full, system_number};
    case ERROR_NOT_SAME_DEVICE:
      return {Error::other_device, system_number};
    default:
      return {Error::other, system_number};
  }
}

Outcome outcome_if(BOOL succeeded) {
  return succeeded != 0 ? Outcome{} : outcome_of(::GetLastError());
}

HANDLE handle_of(system::Handle file) { return reinterpret_cast<HANDLE>(file); }

DWORD low_word(std::uint64_t value) { return static_cast<DWORD>(value); }
DWORD high_word(std::uint64_t value) { return static_cast<DWORD>(value >> 32); }

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE;

Outcome create_handle(const std::string& path, DWORD access, DWORD disposition,
                      system::Handle& file, DWORD share = kShare,
                      DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
  const HANDLE opened =
      ::CreateFileA(path.c_str(), access, share, nullptr, disposition, attributes, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return outcome_of(::GetLastError());
  file = reinterpret_cast<system::Handle>(opened);
  return {};
}

// One ReadFile or WriteFile at a place of the file; its end is no failure.
template <typename SystemCall>
Outcome transfer(std::uint64_t offset, std::size_t size, std::size_t& moved,
                 SystemCall system_call) {
  OVERLAPPED place = {};
  place.Offset = low_word(offset);
  place.OffsetHigh = high_word(offset);
  DWORD bytes = 0;
  const BOOL succeeded = system_call(static_cast<DWORD>(size), &bytes, &place);
  moved = bytes;
  if (succeeded != 0 || ::GetLastError() == ERROR_HANDLE_EOF) return {};
  return outcome_of(::GetLastError());
}

// Hands the pieces one by one to read_file or write_file, up to the first that moves less than it
// should.
template <typename Transfer>
Outcome transfer_pieces(std::uint64_t offset, std::span<const Piece> pieces, std::size_t& moved,
                        Transfer transfer_one) {
  moved = 0;
  for (const Piece& piece : pieces) {
    std::size_t bytes = 0;
    const Outcome outcome = transfer_one(offset + moved, piece, bytes);
    moved += bytes;
    if (!outcome.ok()) return outcome;
    if (bytes < piece.size) break;
  }
  return {};
}

Outcome lock_outcome(BOOL succeeded) {
  if (succeeded != 0) return {};
  const DWORD number = ::GetLastError();
  if (number == ERROR_SHARING_VIOLATION || number == ERROR_LOCK_VIOLATION) {
    return {Error::lock_refused, static_cast<std::int32_t>(number)};
  }
  return outcome_of(number);
}

// Whether there may be a file where looking along the path ended so. Whoever may not go along it,
// or loses the way, cannot open or make a file there either.
bool may_lead_to_a_file(const Outcome& outcome) {
  constexpr std::array<std::int32_t, 5> kFailures = {ERROR_NOT_ENOUGH_MEMORY, ERROR_OUTOFMEMORY,
                                                     ERROR_CRC, ERROR_GEN_FAILURE, ERROR_IO_DEVICE};
  return std::ranges::find(kFailures, outcome.system_number) != kFailures.end();
}

bool has_several_names(const std::string& path) {
  system::Handle file = 0;
  if (!create_handle(path, 0, OPEN_EXISTING, file, kShare | FILE_SHARE_DELETE).ok()) return false;
  BY_HANDLE_FILE_INFORMATION about = {};
  const bool known = ::GetFileInformationByHandle(handle_of(file), &about) != 0;
  ::CloseHandle(handle_of(file));
  return known && about.nNumberOfLinks > 1;
}

}  // namespace

namespace system {

Outcome open_file(const std::string& path, bool writable, Handle& file) {
  const DWORD access = writable ? kReadWrite : GENERIC_READ;
  return create_handle(path, access, OPEN_EXISTING, file);
}

Outcome create_file(const std::string& path, Creation creation, Handle& file) {
  const DWORD disposition = creation == Creation::truncate ? CREATE_ALWAYS : CREATE_NEW;
  return create_handle(path, kReadWrite, disposition, file);
}

// A new file's rights are those of its directory.
Outcome create_replacement(const std::string& path, const std::string& replaced, Handle& file) {
  const DWORD attributes = ::GetFileAttributesA(replaced.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
    return outcome_of(ERROR_ACCESS_DENIED);
  }
  if (has_several_names(replaced)) return {Error::linked, ERROR_TOO_MANY_LINKS};
  return create_handle(path, kReadWrite, CREATE_NEW, file, kShare | FILE_SHARE_DELETE);
}

Outcome create_scratch(const std::string& path, Handle& file) {
  return create_handle(path, kReadWrite, CREATE_NEW, file, 0,
                       FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE);
}

Outcome open_removable(const std::string& path, Handle& file) {
  return create_handle(path, kReadWrite, OPEN_EXISTING, file, kShare | FILE_SHARE_DELETE);
}

Outcome close_file(Handle file) { return outcome_if(::CloseHandle(handle_of(file))); }

Outcome read_file(Handle file, std::uint64_t offset, void* data, std::size_t size,
                  std::size_t& moved) {
  return transfer(offset, size, moved, [&](DWORD wanted, DWORD* bytes, OVERLAPPED* place) {
    return ::ReadFile(handle_of(file), data, wanted, bytes, place);
  });
}

Outcome write_file(Handle file, std::uint64_t offset, const void* data, std::size_t size,
                   std::size_t& moved) {
  return transfer(offset, size, moved, [&](DWORD wanted, DWORD* bytes, OVERLAPPED* place) {
    return ::WriteFile(handle_of(file), data, wanted, bytes, place);
  });
}

Outcome read_pieces(Handle file, std::uint64_t offset, std::span<const Piece> pieces,
                    std::size_t& moved) {
  return transfer_pieces(offset, pieces, moved,
                         [&](std::uint64_t place, const Piece& piece, std::size_t& bytes) {
                           return read_file(file, place, piece.data, piece.size, bytes);
                         });
}

Outcome write_pieces(Handle file, std::uint64_t offset, std::span<const Piece> pieces,
                     std::size_t& moved) {
  return transfer_pieces(offset, pieces, moved,
                         [&](std::uint64_t place, const Piece& piece, std::size_t& bytes) {
                           return write_file(file, place, piece.data, piece.size, bytes);
                         });
}

Outcome file_size(Handle file, std::uint64_t& bytes) {
  LARGE_INTEGER size = {};
  if (::GetFileSizeEx(handle_of(file), &size) == 0) return outcome_of(::GetLastError());
  bytes = static_cast<std::uint64_t>(size.QuadPart);
  return {};
}

Outcome file_end(Handle file, std::uint64_t& bytes) { return file_size(file, bytes); }

Outcome file_identity(Handle file, FileIdentity& identity) {
  BY_HANDLE_FILE_INFORMATION about = {};
  if (::GetFileInformationByHandle(handle_of(file), &about) == 0) {
    return outcome_of(::GetLastError());
  }
  identity = {about.dwVolumeSerialNumber,
              std::uint64_t{about.nFileIndexHigh} << 32 | about.nFileIndexLow};
  return {};
}

Outcome count_names(Handle file, std::uint32_t& count) {
  BY_HANDLE_FILE_INFORMATION about = {};
  if (::GetFileInformationByHandle(handle_of(file), &about) == 0) {
    return outcome_of(::GetLastError());
  }
  count = about.nNumberOfLinks;
  return {};
}

Outcome path_identity(const std::string& path, FileIdentity& identity) {
  Handle file = 0;
  const Outcome opened = create_handle(path, 0, OPEN_EXISTING, file, kShare | FILE_SHARE_DELETE,
                                       FILE_FLAG_BACKUP_SEMANTICS);
  if (!opened.ok()) {
    return may_lead_to_a_file(opened) ? opened : Outcome{Error::not_found, opened.system_number};
  }
  const Outcome outcome = file_identity(file, identity);
  ::CloseHandle(handle_of(file));
  return outcome;
}

Outcome truncate_file(Handle file, std::uint64_t bytes) {
  LARGE_INTEGER end = {};
  end.QuadPart = static_cast<LONGLONG>(bytes);
  return outcome_if(::SetFilePointerEx(handle_of(file), end, nullptr, FILE_BEGIN) != 0 &&
                    ::SetEndOfFile(handle_of(file)) != 0);
}

Outcome sync_file(Handle file) { return outcome_if(::FlushFileBuffers(handle_of(file))); }

Outcome lock_range(Handle file, std::uint64_t offset, std::uint64_t length, Sharing sharing) {
  OVERLAPPED place = {};
  place.Offset = low_word(offset);
  place.OffsetHigh = high_word(offset);
  const DWORD kind = sharing == Sharing::exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0;
  return lock_outcome(::LockFileEx(handle_of(file), LOCKFILE_FAIL_IMMEDIATELY | kind, 0,
                                   low_word(length), high_word(length), &place));
}

Outcome unlock_range(Handle file, std::uint64_t offset, std::uint64_t length) {
  return lock_outcome(::UnlockFile(handle_of(file), low_word(offset), high_word(offset),
                                   low_word(length), high_word(length)));
}

// A shared lock for a moment: tests do not get in each other's way.
Outcome test_range(Handle file, std::uint64_t offset, std::uint64_t length, Sharing) {
  const Outcome locked = lock_range(file, offset, length, Sharing::shared);
  return locked.ok() ? unlock_range(file, offset, length) : locked;
}

// Times of writing are noted when a file is closed.
bool notes_changes(Handle) { return false; }

Outcome last_change(Handle file, LastChange& change) {
  constexpr std::int64_t kNanosecondsPerTick = 100;
  constexpr std::int64_t kTicksUntil1970 = 116'444'736'000'000'000;  // from 1601
  FILETIME written = {};
  if (::GetFileTime(handle_of(file), nullptr, nullptr, &written) == 0) {
    return outcome_of(::GetLastError());
  }
  const auto ticks = static_cast<std::int64_t>(std::uint64_t{written.dwHighDateTime} << 32 |
                                               written.dwLowDateTime);
  change.time = (ticks - kTicksUntil1970) * kNanosecondsPerTick;
  return file_size(file, change.size);
}

bool exists(const std::string& path) {
  return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

Outcome real_path(const std::string& path, std::string& real) {
  real = path;
  const DWORD attributes = ::GetFileAttributesA(path.c_str());
  const bool is_link =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  if (!is_link) return {};
  Handle file = 0;
  const Outcome opened = create_handle(path, 0, OPEN_EXISTING, file);
  if (!opened.ok()) return opened.error == Error::not_found ? Outcome{} : opened;
  std::string found(32768, '\0');
  const DWORD length = ::GetFinalPathNameByHandleA(handle_of(file), found.data(),
                                                   static_cast<DWORD>(found.size()), 0);
  const Outcome outcome = outcome_if(length != 0 && length < found.size());
  ::CloseHandle(handle_of(file));
  if (!outcome.ok()) return outcome;
  found.resize(length);
  real.swap(found);
  return {};
}

Outcome remove_file(const std::string& path) { return outcome_if(::DeleteFileA(path.c_str())); }

Outcome replace_file(const std::string& from, const std::string& to, Replaced) {
  if (has_several_names(to)) return {Error::linked, ERROR_TOO_MANY_LINKS};
  return outcome_if(
      ::MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
}

Outcome rename_if_free(const std::string& from, const std::string& to) {
  return outcome_if(::MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH));
}

}  // namespace system
}  // namespace vqdb::platform
