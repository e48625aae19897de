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
  Outcome create(const std::string& path, Creation creation);
  Outcome close();

  bool is_open() const { return handle_ != kNoHandle; }
  // The system's number for the file, cut to 32 bits.
  std::int32_t number() const { return static_cast<std::int32_t>(handle_); }

  // Reads up to size bytes; transferred is less than size only at the end of the file (which is
  // no failure) or after a failure.
  Outcome read_at(std::uint64_t offset, void* data, std::size_t size, std::size_t& transferred);
  // Reads exactly size bytes; the end of the file before that is short_transfer.
  Outcome read_exactly(std::uint64_t offset, void* data, std::size_t size);
  // Writes exactly size bytes.
  Outcome write_at(std::uint64_t offset, const void* data, std::size_t size);

  // The same for at most kMaxPieces pieces that lie one behind the other in the file, in one
  // system call where the system can; together they may exceed kChunkBytes by the last piece.
  Outcome read_pieces(std::uint64_t offset, std::span<const Piece> pieces,
                      std::size_t& transferred);
  Outcome write_pieces(std::uint64_t offset, std::span<const Piece> pieces);

  Outcome size(std::uint64_t& bytes);
  Outcome identity(FileIdentity& identity);
  // Hands everything written to the device.
  Outcome sync();

  // Locks bytes against every other open of the file, in this process or another; never waits.
  // A range held by somebody else is lock_refused.
  Outcome lock(std::uint64_t offset, std::uint64_t length);
  Outcome unlock(std::uint64_t offset, std::uint64_t length);
  // Whether anybody else holds a byte of the range (lock_refused), without keeping others out
  // meanwhile. REQUIRES that this file has not locked exactly this range.
  Outcome test_lock(std::uint64_t offset, std::uint64_t length);

 private:
  static constexpr std::intptr_t kNoHandle = -1;
  std::intptr_t handle_ = kNoHandle;
};

bool exists(const std::string& path);
Outcome remove(const std::string& path);
// An existing target is refused with already_exists, one on another device with other_device.
Outcome rename(const std::string& from, const std::string& to);
// Puts `from` in the place of `to` in one step that a crash cannot split, when both lie on one
// device; `to` need not exist. Where the system tells users apart, those of the old file remain.
Outcome replace(const std::string& from, const std::string& to);

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_FILE_H_
