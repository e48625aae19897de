// Where the locked bytes of a file lie. Schemes differ so that hosts of different habits can share
// files; the number of a scheme is what dUsetnet sets.
#ifndef VQDBSYS_TABLE_LOCK_SCHEME_H_
#define VQDBSYS_TABLE_LOCK_SCHEME_H_

#include <algorithm>
#include <array>
#include <cstdint>

#include "table/record_file.h"

namespace vqdb::table {

struct LockScheme {
  std::uint32_t number;
  bool has_locks;               // without them nothing below counts but data_end
  std::uint64_t data_end;       // a table may grow up to here
  std::uint64_t file_offset;    // the byte whose holder has the file
  std::uint64_t file_length;    // bytes that the lock of an index or memo file takes
  std::uint64_t append_offset;  // the byte whose holder appends; who has the file takes it, too
  std::uint64_t record_offset;  // the byte of record n lies n bytes before or behind
  bool records_before;
  std::uint32_t max_record;

  constexpr std::uint64_t offset_of(std::uint32_t recno) const {
    return records_before ? record_offset - recno : record_offset + recno;
  }
  // The first byte that stands for one of the records 1 to `last`.
  constexpr std::uint64_t first_offset(std::uint32_t last) const {
    return offset_of(records_before ? last : 1);
  }
};

inline constexpr std::uint64_t kBillion = 1000000000;
inline constexpr std::uint32_t kSpan = 0x7FFFFFF;

inline constexpr std::array<LockScheme, 7> kLockSchemes = {{
    {0, true, kMaxTableBytes, 0xEFFFFFFE, 2, 0xEFFFFFFF, 0xEFFFFFFE, true, INT32_MAX},
    {1, true, kBillion, kBillion, 1, kBillion + kSpan, kBillion, false, kSpan - 1},
    {2, true, kMaxTableBytes, 0xEFFFFFFF, 1, 0xEFFFFFFF, 0xEFFFFFFF, true, INT32_MAX},
    {3, true, 0x40000001, 0x7FFFFFFE, 1, 0x7FFFFFFD, 0x40000000, false, 0x3FFFFFFC},
    {4, false, kMaxTableBytes, 0, 0, 0, 0, false, 0},
    {5, false, kMaxTableBytes, 0, 0, 0, 0, false, 0},
    {6, false, kMaxTableBytes, 0, 0, 0, 0, false, 0},
}};

// Each scheme stands at its number, and no byte of it means two things, but for the file's and the
// append byte, which may be one.
constexpr bool is_sound(const LockScheme& scheme) {
  if (&scheme != &kLockSchemes[scheme.number]) return false;
  if (!scheme.has_locks) return true;
  const std::uint64_t first = scheme.first_offset(scheme.max_record);
  const std::uint64_t last = first + scheme.max_record - 1;
  const auto names_a_record = [&](std::uint64_t byte) { return byte >= first && byte <= last; };
  return !names_a_record(scheme.file_offset) && !names_a_record(scheme.append_offset) &&
         scheme.data_end <= scheme.file_offset && scheme.data_end <= scheme.append_offset &&
         (scheme.records_before || scheme.data_end <= first);
}
static_assert(std::all_of(kLockSchemes.begin(), kLockSchemes.end(), is_sound));

// Any number beyond the table counts as a scheme without locks.
constexpr const LockScheme& lock_scheme_of(std::uint32_t number) {
  return number < kLockSchemes.size() ? kLockSchemes[number] : kLockSchemes.back();
}

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_LOCK_SCHEME_H_
