#include "memo/hold.h"

#include <utility>

#include "frame/wait.h"
#include "table/locks.h"

namespace vqdb::memo {

Hold::~Hold() {
  if (held_) static_cast<void>(release(Result::unavailable));
}

Result Hold::take() {
  if (!memo_.shared()) return Result::ok;
  VqBlock& block = *memo_.block;
  const Result result = patiently(
      block, [&] { return table::lock_whole_file(block, memo_.file, memo_.lock_scheme); });
  held_ = ok(result);
  if (held_) memo_.stale = !is_as_known() || memo_.stale;
  return result;
}

// The dBASE III layout keeps no more than a number, which each write reads.
bool Hold::is_as_known() { return memo_.layout == Layout::dbase4 && memo_.watch.is_unchanged(); }

Result Hold::release(Result result) {
  if (!std::exchange(held_, false)) return result;
  const std::int32_t detail = memo_.block->detail;
  const Result unlocked = table::unlock_whole_file(*memo_.block, memo_.file, memo_.lock_scheme);
  if (ok(result)) return unlocked;
  memo_.block->detail = detail;
  return result;
}

// Who changes the file has its lock until all is written.
bool is_at_rest(Memo& memo) {
  if (!memo.shared() || memo.stale || !memo.watch.counts()) return false;
  const std::int32_t detail = memo.block->detail;
  const Result others =
      table::test_whole_file(*memo.block, memo.file, memo.lock_scheme, platform::Sharing::shared);
  memo.block->detail = detail;
  if (!ok(others)) return false;
  memo.stale = !memo.watch.is_unchanged();
  return !memo.stale;
}

// Who changes the file has its time noted before he writes the first byte.
bool holds_still(Memo& memo) {
  if (!memo.has_read) return true;
  memo.stale = !memo.watch.is_unchanged();
  return !memo.stale;
}

}  // namespace vqdb::memo
