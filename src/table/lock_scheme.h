// Where the locked bytes of a table lie. Schemes differ so that hosts of different habits can share
// files; all of them stay clear of the data.
#ifndef VQDBSYS_TABLE_LOCK_SCHEME_H_
#define VQDBSYS_TABLE_LOCK_SCHEME_H_

#include <cstdint>

namespace vqdb::table {

struct LockScheme {
  std::uint64_t file_offset;  // the byte whose holder has the file
  std::uint64_t file_length;  // bytes that the file lock of an index or memo file takes
  std::uint64_t append_offset;
  std::uint64_t record_offset;  // the byte of record n lies n bytes before or behind
  bool records_before;
  std::uint32_t max_record;

  std::uint64_t offset_of(std::uint32_t recno) const {
    return records_before ? record_offset - recno : record_offset + recno;
  }
};

// Null for a scheme without lock operations (4 to 6, and any other number).
const LockScheme* find_lock_scheme(std::uint32_t scheme);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_LOCK_SCHEME_H_
