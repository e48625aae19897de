#include "api/record_keys.h"

#include <cstring>

#include "table/records.h"

namespace vqdb::api {

bool fields_only(const VqBlock& block) {
  return (block.runtime_flags & runtime_flag::kFieldsOnly) != 0;
}

void complete_record(const void* fields, std::size_t record_length, Byte* record) {
  record[0] = table::kLive;
  std::memcpy(record + 1, fields, record_length - 1);
}

Result belongs(VqBlock& block, const Member& member, const void* record, bool& yes) {
  yes = true;
  if (member.filter == nullptr) return Result::ok;
  KeyBuffer value;
  const Result result =
      expr::run(block, *member.filter, record, 0, kMaxKeyBytes, value.bytes.data(), value.length);
  yes = ok(result) && value.length > 0 && value.bytes[0] == 'T';
  return result;
}

Result build_key(VqBlock& block, const Member& member, const void* record, KeyBuffer& key) {
  // Texts shorter than the index's keys end in blanks.
  key.bytes.fill(' ');
  // Bit 0 of the options asks for key form; in the kind code it is always clear.
  const Result result =
      expr::run(block, *member.key, record, member.code() | expr::run_option::kKey, kMaxKeyBytes,
                key.bytes.data(), key.length);
  if (ok(result) && key.length >= 0 && key.length < kMaxKeyBytes) {
    key.bytes[static_cast<std::size_t>(key.length)] = ' ';
  }
  return result;
}

}  // namespace vqdb::api
