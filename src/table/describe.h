// What a table file says about itself without being opened as a table: its header, its kind, and
// the memory that opening it takes.
#ifndef VQDBSYS_TABLE_DESCRIBE_H_
#define VQDBSYS_TABLE_DESCRIBE_H_

#include <cstdint>

#include "frame/result.h"
#include "platform/file.h"
#include "table/header.h"

namespace vqdb::table {

// Memory needs are counted in 31 bits; a table cannot be opened with more.
inline constexpr std::uint64_t kMaxMemoryNeed = INT32_MAX;

// Reads the 32 header bytes. Details 311 (short) and 312 (header or record length).
Result read_header(VqBlock& block, platform::File& file, Header& header);
// The latter of its tests.
Result check_header(VqBlock& block, const Header& header);

// Bytes that a table takes when it is opened with this many buffers.
std::uint64_t memory_need(std::uint32_t field_count, std::uint32_t record_length,
                          std::uint32_t buffers);
// The same for a file; a negative number of buffers counts as 1. Details as for opening, and
// 10047 for a need of more than 31 bits.
Result memory_need_of(VqBlock& block, const char* name, std::int32_t buffers, std::int32_t& bytes);

// The kind word of a table file: 4 or 8 for a dBASE IV or III memo file, 32 for a FoxPro one,
// plus 2 for a production MDX file and 16 for an encrypted table. Details 281 and 282.
Result kind_of(VqBlock& block, const char* name, std::int32_t& kind);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_DESCRIBE_H_
