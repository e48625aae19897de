// The system's own calls behind File, one function each, as each system's folder supplies them.
// Only file.cpp uses them: it adds the fault seam, the chunks and the ownership.
#ifndef VQDBSYS_PLATFORM_SYSTEM_CALLS_H_
#define VQDBSYS_PLATFORM_SYSTEM_CALLS_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/error.h"
#include "platform/file.h"

namespace vqdb::platform::system {

using Handle = std::intptr_t;

// A directory is refused with access_denied.
Outcome open_file(const std::string& path, bool writable, Handle& file);
Outcome create_file(const std::string& path, Creation creation, Handle& file);
// See File. The replacement's file can be renamed and removed while it is open.
Outcome create_replacement(const std::string& path, const std::string& replaced, Handle& file);
Outcome create_scratch(const std::string& path, Handle& file);
// Opens a file so that it can be removed meanwhile.
Outcome open_removable(const std::string& path, Handle& file);
Outcome close_file(Handle file);

// Move bytes, or pieces to or from consecutive places of the file; moved is less than was asked for
// at the end of the file or on a full disk.
Outcome read_file(Handle file, std::uint64_t offset, void* data, std::size_t size,
                  std::size_t& moved);
Outcome write_file(Handle file, std::uint64_t offset, const void* data, std::size_t size,
                   std::size_t& moved);
Outcome read_pieces(Handle file, std::uint64_t offset, std::span<const Piece> pieces,
                    std::size_t& moved);
Outcome write_pieces(Handle file, std::uint64_t offset, std::span<const Piece> pieces,
                     std::size_t& moved);

Outcome file_size(Handle file, std::uint64_t& bytes);
// The size without a look at the times.
Outcome file_end(Handle file, std::uint64_t& bytes);
Outcome file_identity(Handle file, FileIdentity& identity);
Outcome count_names(Handle file, std::uint32_t& count);
Outcome path_identity(const std::string& path, FileIdentity& identity);
Outcome truncate_file(Handle file, std::uint64_t bytes);
Outcome sync_file(Handle file);
Outcome lock_range(Handle file, std::uint64_t offset, std::uint64_t length, Sharing sharing);
Outcome unlock_range(Handle file, std::uint64_t offset, std::uint64_t length);
Outcome test_range(Handle file, std::uint64_t offset, std::uint64_t length, Sharing sharing);
bool notes_changes(Handle file);
Outcome last_change(Handle file, LastChange& change);

// See the functions of these names.
bool exists(const std::string& path);
Outcome real_path(const std::string& path, std::string& real);

Outcome remove_file(const std::string& path);
Outcome replace_file(const std::string& from, const std::string& to, Replaced old);
Outcome rename_if_free(const std::string& from, const std::string& to);

}  // namespace vqdb::platform::system

#endif  // VQDBSYS_PLATFORM_SYSTEM_CALLS_H_
