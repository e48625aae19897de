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

}  // namespace vqdb::memo
