// Result codes of every operation, and the way a failure is recorded: the detail code goes to the
// database block at the point of failure, the result code to the caller.
#ifndef VQDBSYS_FRAME_RESULT_H_
#define VQDBSYS_FRAME_RESULT_H_

#include <cstdint>

#include "vqdbsys.h"

namespace vqdb {

enum class [[nodiscard]] Result : std::int32_t{
    ok = VQ_OK,
    unavailable = VQ_E_UNAVAILABLE,
    unknown_name = VQ_E_UNKNOWN_NAME,
    bad_format = VQ_E_FORMAT,
    out_of_range = VQ_E_RANGE,
    not_found = VQ_E_NOT_FOUND,
    index_start = VQ_E_INDEX_START,
    index_end = VQ_E_INDEX_END,
    page_error = VQ_E_INDEX_PAGE,
    duplicate_key = -1008,  // a unique index holds the key; a page error to the host
    mismatch = VQ_E_MISMATCH,
    bad_handle = VQ_E_BAD_HANDLE,
    not_allowed = VQ_E_NOT_ALLOWED,
    unknown_kind = VQ_E_UNKNOWN_KIND,
    no_driver = VQ_E_NO_DRIVER,
    no_memory = VQ_E_NO_MEMORY,
    encrypted = VQ_E_ENCRYPTED,
    read_only = VQ_E_READ_ONLY,
    io = VQ_E_IO,
    too_many_files = VQ_E_TOO_MANY_FILES,
    access_denied = VQ_E_ACCESS_DENIED,
    disk_full = VQ_E_DISK_FULL,
    text_limit = VQ_E_TEXT_LIMIT,
    open_quote = VQ_E_OPEN_QUOTE,
    unknown_function = VQ_E_UNKNOWN_FUNCTION,
    stray_point = VQ_E_STRAY_POINT,
    operand = VQ_E_OPERAND,
    argument_type = VQ_E_ARGUMENT_TYPE,
    too_few = VQ_E_TOO_FEW,
    too_many = VQ_E_TOO_MANY,
    parentheses = VQ_E_PARENTHESES,
    division = VQ_E_DIVISION,
    empty = VQ_E_EMPTY,
    no_handler = VQ_E_NO_HANDLER,
    not_locked = VQ_E_NOT_LOCKED,
    lock_unknown = VQ_E_LOCK_UNKNOWN,
    locked = VQ_E_LOCKED,
    file_locked = VQ_E_FILE_LOCKED,
    lock_routine = VQ_E_LOCK_ROUTINE,
    lock_refused = VQ_E_LOCK_REFUSED,
    cancelled = VQ_E_CANCELLED,
};

inline bool ok(Result result) { return result == Result::ok; }
// Whether somebody else has locked what is needed.
inline bool is_busy(Result result) {
  return result == Result::locked || result == Result::file_locked;
}
// The result as the host sees it.
inline std::int32_t code(Result result) {
  return static_cast<std::int32_t>(result == Result::duplicate_key ? Result::page_error : result);
}

// An exported operation owns the ten detail codes number * 10 + digit; digit 1 is its bad handle.
struct Operation {
  std::int32_t number;

  constexpr std::int32_t detail(std::int32_t digit) const { return number * 10 + digit; }
  constexpr std::int32_t bad_handle() const { return detail(1); }
};

// Stores the detail code (nowhere when there is no block) and gives the result back.
inline Result fail(VqBlock* block, Result result, std::int32_t detail) {
  if (block != nullptr) block->detail = detail;
  return result;
}
inline Result fail(VqBlock& block, Result result, std::int32_t detail) {
  return fail(&block, result, detail);
}

// Option bits of the dialect kind, the first word of the block.
namespace dialect {
inline constexpr std::uint32_t kDbase4 = 2 | 4;      // dBASE IV memo fields
inline constexpr std::uint32_t kWide = 4;            // 1024 fields, 32767 bytes, B and G fields
inline constexpr std::uint32_t kFoxpro = 8;          // P fields, version 0xF5, 65500 bytes
inline constexpr std::uint32_t kExtendedSyntax = 8;  // expressions: != == ! and more functions
inline constexpr std::uint32_t kCountBySize = 16;    // shared record count from the file size
inline constexpr std::uint32_t kFieldAlias = 16;     // expressions: FIELD->NAME
}  // namespace dialect

// Run-time flags of the block.
namespace runtime_flag {
inline constexpr std::uint16_t kFieldsOnly = VQ_FLAG_FIELDS_ONLY;
inline constexpr std::uint16_t kCachedReads = VQ_FLAG_CACHED_READS;
inline constexpr std::uint16_t kDurable = VQ_FLAG_DURABLE;
}  // namespace runtime_flag

// Open mode bits that tables, memo files and indexes share.
namespace open_mode {
inline constexpr std::uint32_t kReadOnly = VQ_OPEN_READ_ONLY;
inline constexpr std::uint32_t kSharedReread = VQ_OPEN_SHARED;
inline constexpr std::uint32_t kSharedCached = VQ_OPEN_SHARED_CACHED;
inline constexpr std::uint32_t kShared = kSharedReread | kSharedCached;
}  // namespace open_mode

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_RESULT_H_
