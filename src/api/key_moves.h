// What a change of a record means for the keys of its group: found out before the record is
// written, carried out behind it.
#ifndef VQDBSYS_API_KEY_MOVES_H_
#define VQDBSYS_API_KEY_MOVES_H_

#include <cstdint>
#include <vector>

#include "api/database.h"
#include "api/record_keys.h"
#include "frame/result.h"

namespace vqdb::api {

// One member's side of a change.
struct KeyMove {
  Member* member = nullptr;
  bool had = false;
  bool has = false;
  KeyBuffer old_key;
  KeyBuffer new_key;
  // Why the new key cannot be made.
  Result failure = Result::ok;
  std::int32_t detail = 0;
};
using KeyMoves = std::vector<KeyMove, PlatformAllocator<KeyMove>>;

// A move for each member whose key changes, in the order of the group, up to the first whose new
// key cannot be made. An old key that cannot be made counts as one that is not there. With
// `flag_only` the records differ in the deletion flag alone, and only members that read it are
// looked at. Out of memory without a detail code.
Result plan_moves(Database& database, const Byte* old_record, const Byte* new_record,
                  bool flag_only, KeyMoves& moves);

// Removes the old key, which may be missing, and inserts the new one, unless it is there already:
// after a failed update the former contents, written back, find some members as they left them.
Result carry_out(VqBlock& block, const KeyMove& move, std::uint32_t recno);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_KEY_MOVES_H_
