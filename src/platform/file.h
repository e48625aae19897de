// Files as the system gives them: opened, read and written at absolute offsets, locked by byte
// ranges, renamed and removed. Offsets and sizes are in bytes and 64 bits wide. Transfers go in
// chunks of at most kChunkBytes, one system call each. Names are taken as they stand; file_name.h
// says which file a caller's name means.
#ifndef VQDBSYS_PLATFORM_FILE_H_
#define VQDBSYS_PLATFORM_FILE_H_

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/error.h"

namespace vqdb::platform {

inline constexpr std::size_t kChunkBytes = 16384;
inline constexpr std::size_t kMaxPieces = 32;

// Whether another file can take the place of one that somebody has open.
#if defined(_WIN32)
inline constexpr bool kReplacesOpenFiles = false;
#else
inline constexpr bool kReplacesOpenFiles = true;
#endif

// What those get who have a file open, where the system replaces such files, when another has taken
// its place.
enum class Replaced : std::uint8_t {
  emptied,  // errors, instead of working on in a file that is gone
  kept,     // what they began to read
};

// A piece of memory of a transfer that gathers from, or scatters to, several places.
struct Piece {
  void* data;
  std::size_t size;
};

enum class Access : std::uint8_t {
  read_write,
  read_write_or_read,  // read-only is accepted where read-write is denied
  read_only,
};

enum class Creation : std::uint8_t {
  truncate,   // an existing file is emptied
  exclusive,  // an existing file is refused with already_exists
};

// Which file an open file is, whatever name it was opened by: the device (volume) and the file's
// number there. All processes of a machine see the same identities, in the same order.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;

  auto operator<=>(const FileIdentity&) const = default;
};

// Who may have bytes locked beside this lock: nobody, or those whose lock is shared as well.
enum class Sharing : std::uint8_t { exclusive, shared };

// What the system notes of a file with every change.
struct LastChange {
  std::int64_t time = 0;  // of data, size or rights; nanoseconds since 1970
  std::uint64_t size = 0;

  bool operator==(const LastChange&) const = default;
};

bool remove_abandoned(const std::string& path);

// An open file. Closes itself when it goes out of scope; close() reports what the system says.
class File {
 public:
  File() = default;
  ~File();
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  Outcome open(const std::string& path, Access access);
  // Opens for reading and writing a file that will be replaced or removed meanwhile.
  Outcome open_replaceable(const std::string& path);
  Outcome create(const std::string& path, Creation creation);
  // Makes a new file for the place of `replaced`, with the users and rights of the file there from
  // its first byte on, or those of any new file. A taken path is already_exists, a `replaced` that
  // may not be written access_denied, one with several names linked. The path can be given to
  // replace() while the file is open.
  Outcome create_replacement(const std::string& path, const std::string& replaced);
  // Makes a new file for this user alone, which is gone when it is closed.
  Outcome create_scratch(const std::string& path);
  Outcome close();

  bool is_open() const { return handle_ != kNoHandle; }
  // The system's number for the file, cut to 32 bits.
  std::int32_t number() const { return static_cast<std::int32_t>(handle_); }

  // Reads up to size bytes; transferred is less than size only at the end of the file (which is
  // no failure) or after a failure.
  Outcome read_at(std::uint64_t offset, void* data, std::size_t size, std::size_t& transferred);
  // Reads exactly size bytes; the end of the file before that is short_transfer.
  Outcome read_exactly(std::uint64_t offset, void* data, std::size_t size);
  // Writes exactly size bytes; transferred, which may be null, is less after a failure only.
  Outcome write_at(std::uint64_t offset, const void* data, std::size_t size,
                   std::size_t* transferred = nullptr);

  // The same for at most kMaxPieces pieces that lie one behind the other in the file, in one
  // system call where the system can; together they may exceed kChunkBytes by the last piece.
  Outcome read_pieces(std::uint64_t offset, std::span<const Piece> pieces,
                      std::size_t& transferred);
  Outcome write_pieces(std::uint64_t offset, std::span<const Piece> pieces,
                       std::size_t* transferred = nullptr);

  Outcome size(std::uint64_t& bytes);
  // The same where the system knows the size by now: of a file of this machine, or under a lock
  // that keeps others from changing it. Unlike size() it looks at no times: a system that tells who
  // has looked makes the next write note a new one.
  Outcome known_size(std::uint64_t& bytes);
  Outcome identity(FileIdentity& identity);
  // How many names lead to the file: none once it was removed, or another one took its place.
  Outcome names(std::uint32_t& count);
  // Whether the path leads to this file.
  bool is_at(const std::string& path);
  // Cuts the file off behind so many bytes.
  Outcome truncate(std::uint64_t bytes);
  // Hands everything written to the device.
  Outcome sync();

  // Locks bytes against every other open of the file, in this process or another; never waits.
  // A range held by somebody else is lock_refused.
  Outcome lock(std::uint64_t offset, std::uint64_t length, Sharing sharing = Sharing::exclusive);
  Outcome unlock(std::uint64_t offset, std::uint64_t length);
  // Whether what anybody else holds of the range would refuse such a lock (lock_refused), without
  // keeping others out meanwhile. REQUIRES that this file has not locked exactly this range.
  Outcome test_lock(std::uint64_t offset, std::uint64_t length,
                    Sharing sharing = Sharing::exclusive);

  // Whether the system knows of every change, by any process, as soon as it is made: true only of
  // file systems of this machine that are known for it.
  bool notes_changes();
  // As finely as the system tells times, and as soon as it does.
  Outcome last_change(LastChange& change);

 private:
  friend bool remove_abandoned(const std::string& path);

  // Opens a replacement that nobody works on any more.
  Outcome open_abandoned(const std::string& path);
  Outcome hold_work(const std::string& path);

  static constexpr std::intptr_t kNoHandle = -1;
  std::intptr_t handle_ = kNoHandle;
};

// Yes also where the system cannot tell, so that nothing is made over what is there.
bool exists(const std::string& path);
// Whether both paths lead to one file, over links or not. Those of nothing do not.
Outcome same_file(const std::string& a, const std::string& b, bool& same);
// Yes also where the system cannot tell.
bool may_be_same_file(const std::string& a, const std::string& b);
// The path of the file that this one leads to over links, be it there or not; itself where there is
// no link.
Outcome real_path(const std::string& path, std::string& real);
Outcome remove(const std::string& path);
// Removes a file that create_replacement made in a process that has died since. False for any that
// is still worked on.
bool remove_abandoned(const std::string& path);
// Puts `from` in the place of `to`, which need not exist, in one step that a crash cannot split,
// and keeps a crash from undoing it where the system can. Different devices are other_device, a
// `to` with several names is linked.
Outcome replace(const std::string& from, const std::string& to, Replaced old = Replaced::emptied);
// The same where no file has the name `to`; already_exists, in the same step, where one has.
Outcome rename_if_free(const std::string& from, const std::string& to);

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_FILE_H_
