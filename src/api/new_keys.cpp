#include "api/new_keys.h"

namespace vqdb::api {
namespace {

// Inside the bracket of the record operation.
constexpr bool kBracketed = false;

}  // namespace

bool NewKeys::reserve() {
  return has_memory([&] {
    keys_.reserve(database_.members.size());
    places_.reserve(database_.members.size());
  });
}

// Up to the first that cannot be made.
Result NewKeys::make(const Byte* record) {
  VqBlock& block = database_.owner_block();
  for (Member& member : database_.members) {
    if (!member.carries_keys()) continue;
    bool has = false;
    if (const Result result = belongs(block, member, record, has); !ok(result)) return result;
    if (!has) continue;
    KeyBuffer& key = keys_.emplace_back(member).bytes;
    if (const Result result = build_key(block, member, record, key); !ok(result)) return result;
    places_.emplace_back(*member.index, key.bytes.data());
  }
  return Result::ok;
}

Result NewKeys::insert(const Byte* record, std::uint32_t recno) {
  VqBlock& block = database_.owner_block();
  const Result made = make(record);
  const std::int32_t detail = block.detail;
  index::find_places(places_);
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const Member& member = *keys_[i].member;
    const Result result = member.bracket().putat(places_[i], recno, kBracketed);
    // A unique index may hold the key already; the record stays.
    if (!ok(result) && result != Result::duplicate_key && !is_dropped(member, result)) {
      return result;
    }
  }
  if (!ok(made)) block.detail = detail;
  return made;
}

}  // namespace vqdb::api
