#include "api/key_moves.h"

#include <algorithm>
#include <cstring>

namespace vqdb::api {
namespace {

// Inside the bracket of the record operation.
constexpr bool kBracketed = false;

// Whether the member holds the record, and under which key.
Result key_of(VqBlock& block, const Member& member, const Byte* record, bool& has, KeyBuffer& key) {
  const Result result = belongs(block, member, record, has);
  return ok(result) && has ? build_key(block, member, record, key) : result;
}

bool same_key(const KeyMove& move) {
  const std::int32_t length = move.member->driver().keylen(*move.member->index);
  const auto bytes = static_cast<std::size_t>(std::clamp(length, 0, kMaxKeyBytes));
  return std::memcmp(move.old_key.bytes.data(), move.new_key.bytes.data(), bytes) == 0;
}

// Whether the group has anything to do for this member.
Result plan(VqBlock& block, const Byte* old_record, const Byte* new_record, KeyMove& move,
            bool& moves) {
  const std::int32_t detail = block.detail;
  const Result old_key = key_of(block, *move.member, old_record, move.had, move.old_key);
  if (old_key == Result::no_memory) return old_key;
  if (!ok(old_key)) {
    move.had = false;
    block.detail = detail;
  }
  move.failure = key_of(block, *move.member, new_record, move.has, move.new_key);
  move.detail = block.detail;
  moves = !ok(move.failure) || move.had != move.has || (move.has && !same_key(move));
  return Result::ok;
}

}  // namespace

Result plan_moves(Database& database, const Byte* old_record, const Byte* new_record,
                  bool flag_only, KeyMoves& moves) {
  for (Member& member : database.members) {
    if (!member.carries_keys() || (flag_only && !member.reads_flag)) continue;
    if (!has_memory([&] { moves.emplace_back(); })) return Result::no_memory;
    KeyMove& move = moves.back();
    move.member = &member;
    bool changes = false;
    const Result result = plan(database.owner_block(), old_record, new_record, move, changes);
    if (!ok(result)) return result;
    if (!ok(move.failure)) return Result::ok;
    if (!changes) moves.pop_back();
  }
  return Result::ok;
}

Result carry_out(VqBlock& block, const KeyMove& move, std::uint32_t recno) {
  index::Index& index = *move.member->index;
  const index::Driver& driver = move.member->driver();
  if (!ok(move.failure)) return fail(block, move.failure, move.detail);
  if (driver.rmkey == nullptr || driver.putkey == nullptr) return Result::no_driver;
  bool removed = false;
  if (move.had) {
    const Result result = driver.rmkey(index, move.old_key.bytes.data(), recno, kBracketed);
    removed = ok(result);
    if (!removed && result != Result::not_found) return result;
  }
  if (!move.has) return Result::ok;
  const auto haskey = move.member->bracket().haskey;
  if (!removed && haskey != nullptr) {
    bool there = false;
    const Result result = haskey(index, move.new_key.bytes.data(), recno, &there);
    if (!ok(result) || there) return result;
  }
  return driver.putkey(index, move.new_key.bytes.data(), recno, kBracketed);
}

}  // namespace vqdb::api
