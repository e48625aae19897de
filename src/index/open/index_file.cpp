#include "index/open/index_file.h"

#include <algorithm>

#include "frame/system_file.h"
#include "frame/wait.h"
#include "index/tree/pins.h"
#include "table/lock_scheme.h"
#include "table/locks.h"

namespace vqdb::index {
namespace {

using platform::Sharing;

// Another operation holds the lock for some microseconds; a caller's own lock may take longer.
constexpr std::uint32_t kMostMilliseconds = 3000;
// How often who reads looks for those who wait to write, and how long it lets them come first.
constexpr std::uint32_t kTurns = 16;
constexpr std::uint32_t kGiveWayMilliseconds = 100;

constexpr Operation kLog{1034};
constexpr std::int32_t kUnfinished = 10345;

bool has_locks(std::uint32_t scheme) { return table::lock_scheme_of(scheme).has_locks; }

}  // namespace

bool IndexFile::attach(platform::File&& file, std::uint32_t open_mode, std::uint32_t lock_scheme,
                       std::int32_t buffers) {
  system_file = std::move(file);
  mode = open_mode;
  scheme = lock_scheme;
  const auto wanted = static_cast<std::uint32_t>(std::max(buffers, kMinBuffers));
  return cache.allocate(std::max(wanted, kMostPins));
}

Result IndexFile::flush() {
  if (is_entered()) {
    if (const Result result = cache.write_changed(); !ok(result)) return result;
    if (cache.is_unfinished()) return fail(block, Result::io, kUnfinished);
  } else if (cache.is_unfinished()) {
    const Result result = in_bracket(*this, Purpose::changing, [] { return Result::ok; });
    if (!ok(result)) return result;
  }
  const Result kept = is_read_only() ? Result::ok : cache.keep_order();
  if (ok(kept) && is_entered()) cache.cut_log();
  return kept;
}

Result IndexFile::close(std::int32_t close_detail) {
  if (is_shared() && cache.leaves_log()) {
    const std::int32_t detail = block.detail;
    if (ok(enter(Purpose::changing))) {
      cache.cut_log();
      static_cast<void>(leave());
    }
    block.detail = detail;
  }
  const Result flushed = flush();
  const auto closed = system_file.close();
  return ok(flushed) && !closed.ok() ? fail(block, Result::io, close_detail) : flushed;
}

Result IndexFile::enter(Purpose purpose) {
  if (!is_shared()) return Result::ok;
  if (brackets_ == 0) {
    if (const Result result = take_hold(purpose); !ok(result)) return result;
  }
  ++brackets_;
  return Result::ok;
}

Result IndexFile::leave() {
  if (brackets_ == 0 || --brackets_ > 0) return Result::ok;
  const bool may_write = lock_is_callers_ || held_ == Lock::exclusive;
  const Result written = may_write ? write_back() : Result::ok;
  const std::int32_t detail = block.detail;
  const Result left = let_go();
  if (ok(written)) return left;
  block.detail = detail;
  return written;
}

// What the bracket needs: mostly a lock, and what the file holds now.
Result IndexFile::take_hold(Purpose purpose) {
  if (lock_is_callers_) return stale_ ? refresh() : Result::ok;
  if (purpose == Purpose::changing) return lock_and_refresh(Lock::exclusive);
  if (is_as_known()) return Result::ok;
  Result result = lock_and_refresh(Lock::shared);
  // What a dead process has left unfinished is completed first, by one who has the file alone.
  if (ok(result) && stale_) result = let_go();
  return ok(result) && stale_ ? lock_and_refresh(Lock::exclusive) : result;
}

// Whether what is in memory is what the file holds, at a moment when nobody changes it. Who changes
// several files lets go of each with its changes written, so that they are noticed here: somebody
// who has found a record by one of them misses it in none.
bool IndexFile::is_as_known() {
  if (stale_ || !watch_.counts()) return false;
  const std::int32_t detail = block.detail;
  const Result others = table::test_whole_file(block, system_file, scheme, Sharing::shared);
  block.detail = detail;
  if (!ok(others)) return false;
  stale_ = !watch_.is_unchanged();
  return !stale_;
}

// Who changes the file has its time noted before he writes the first byte, so that what was read
// before a look which finds no change is what the look before that one stood for.
bool IndexFile::holds_still() {
  if (!is_shared() || brackets_ == 0 || held_ != Lock::none || lock_is_callers_) return true;
  const bool unchanged = !stale_ && watch_.is_unchanged();
  if (!unchanged) stale_ = overtaken_ = true;
  return unchanged;
}

Result IndexFile::lock_and_refresh(Lock lock) {
  const std::int32_t detail = block.detail;
  if (const Result result = take_lock(lock); !ok(result)) return result;
  block.detail = detail;
  const Result result = refresh();
  if (ok(result)) return result;
  const std::int32_t reason = block.detail;
  static_cast<void>(let_go());
  block.detail = reason;
  return result;
}

Result IndexFile::take_lock(Lock lock) {
  if (held_ >= lock) return Result::ok;
  const bool reads = lock == Lock::shared;
  const Sharing sharing = reads ? Sharing::shared : Sharing::exclusive;
  if (reads) give_way();
  Wait wait(kMostMilliseconds);
  bool asks = false;
  Result result = table::lock_whole_file(block, system_file, scheme, sharing);
  while (is_busy(result) && wait.goes_on()) {
    asks = asks || (!reads && wait.is_long() && table::ask_for_turn(system_file, scheme));
    result = table::lock_whole_file(block, system_file, scheme, sharing);
  }
  if (asks) table::take_back_request(system_file, scheme);
  if (ok(result)) held_ = lock;
  return result;
}

// Readers that never rest would keep out who waits to write, as there is always one of them.
void IndexFile::give_way() {
  if (++shared_locks_ % kTurns != 0) return;
  Wait wait(kGiveWayMilliseconds);
  while (table::somebody_asks_for_turn(system_file, scheme) && wait.goes_on()) {
  }
}

Result IndexFile::let_go() {
  if (lock_is_callers_ || held_ == Lock::none) return Result::ok;
  const Result result = table::unlock_whole_file(block, system_file, scheme);
  if (ok(result)) held_ = Lock::none;
  return result;
}

Result IndexFile::refresh() {
  const bool looks = held_ == Lock::shared || watch_.counts();
  const bool unchanged = looks && watch_.is_unchanged();
  if (unchanged && !stale_) return Result::ok;
  stale_ = true;
  bool unfinished = false;
  if (const Result result = read_headers(unfinished); !ok(result)) return result;
  cache.drop_all();
  if (unfinished && held_ == Lock::shared && !is_read_only()) return Result::ok;
  if (const Result result = complete(unfinished); !ok(result)) return result;
  stale_ = false;
  return Result::ok;
}

Result IndexFile::complete(bool unfinished) {
  torn_ = false;
  cache.forget_log();
  if (!unfinished) return Result::ok;
  bool found = false;
  const Result result = cache.take_up_log(is_read_only(), found);
  torn_ = ok(result) && !found;
  return result;
}

Result IndexFile::check_whole() const {
  return torn_ ? fail(block, Result::page_error, kLog.detail(4)) : Result::ok;
}

// What is left unfinished others may finish, and go on from, as soon as they have the lock: then it
// is the file that says what is still to be done.
Result IndexFile::write_back() {
  const bool has_changes = cache.has_changes();
  const Result result = cache.write_changed();
  if (!ok(result) || cache.is_unfinished()) {
    stale_ = true;
  } else if (has_changes) {
    watch_.note_own_change();
  }
  return result;
}

Result IndexFile::lock(Operation operation) {
  if (!has_locks(scheme)) {
    return fail(block, Result::no_driver, operation.detail(2));
  }
  if (lock_is_callers_) return Result::ok;
  if (const Result result = table::lock_whole_file(block, system_file, scheme); !ok(result)) {
    return fail(block, result, operation.detail(3));
  }
  lock_is_callers_ = true;
  if (is_shared()) stale_ = true;
  return Result::ok;
}

Result IndexFile::unlock(Operation operation) {
  if (!has_locks(scheme)) {
    return fail(block, Result::no_driver, operation.detail(2));
  }
  if (!lock_is_callers_) return fail(block, Result::not_locked, operation.detail(3));
  lock_is_callers_ = false;
  const Result result = table::unlock_whole_file(block, system_file, scheme);
  return ok(result) ? result : fail(block, result, operation.detail(4));
}

Result IndexFile::lock_status(Operation operation) {
  if (!has_locks(scheme)) {
    return fail(block, Result::no_driver, operation.detail(2));
  }
  if (lock_is_callers_) return Result::ok;
  Result result = table::lock_whole_file(block, system_file, scheme);
  if (is_busy(result)) return fail(block, Result::locked, operation.detail(4));
  if (ok(result)) result = table::unlock_whole_file(block, system_file, scheme);
  return ok(result) ? fail(block, Result::not_locked, operation.detail(3))
                    : fail(block, result, operation.detail(5));
}

}  // namespace vqdb::index
