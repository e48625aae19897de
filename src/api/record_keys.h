// The keys of a record: whether the record belongs to a member of the group, and under which key.
#ifndef VQDBSYS_API_RECORD_KEYS_H_
#define VQDBSYS_API_RECORD_KEYS_H_

#include <array>
#include <cstdint>

#include "api/database.h"
#include "frame/bytes.h"
#include "frame/result.h"

namespace vqdb::api {

// The longest key that an index file can hold. Files made here have keys of at most 100 bytes.
inline constexpr std::int32_t kMaxKeyBytes = 240;

// A key with room for the zero byte behind a text.
struct KeyBuffer {
  std::array<Byte, kMaxKeyBytes + 2> bytes;
  std::int32_t length = 0;
};

// Whether the host's records lack the deletion flag. Programs address the fields behind it, so
// they need a record that is put together first.
bool fields_only(const VqBlock& block);

// Puts a record of record_length bytes together from a host's fields.
void complete_record(const void* fields, std::size_t record_length, Byte* record);

// Evaluates the member's filter, if it has one, on a whole record.
Result belongs(VqBlock& block, const Member& member, const void* record, bool& yes);

// Evaluates the member's key expression on a whole record, in key form.
Result build_key(VqBlock& block, const Member& member, const void* record, KeyBuffer& key);

// Whether a change of keys was refused because the tag is no more: somebody has dropped it from its
// file, and there is nothing left to keep in step.
inline bool is_dropped(const Member& member, Result result) {
  return member.is_tag() && result == Result::bad_handle;
}

}  // namespace vqdb::api

#endif  // VQDBSYS_API_RECORD_KEYS_H_
