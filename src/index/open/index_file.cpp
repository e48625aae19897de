#include "index/open/index_file.h"

#include <algorithm>

#include "frame/system_file.h"
#include "index/tree/pins.h"
#include "platform/clock.h"
#include "table/lock_scheme.h"
#include "table/locks.h"

namespace vqdb::index {
namespace {

// Another operation holds the lock for some microseconds; a caller's own lock may take longer.
constexpr std::uint32_t kEagerTries = 50;
constexpr std::uint32_t kPatientTries = 3000;
constexpr std::uint32_t kPauseMilliseconds = 1;

constexpr Operation kLog{1034};
constexpr std::int32_t kUnfinished = 10345;

bool has_locks(std::uint32_t scheme) { return table::lock_scheme_of(scheme).has_locks; }

bool is_busy(Result result) { return result == Result::file_locked || result == Result::locked; }

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
    const Result result = in_bracket(*this, [] { return Result::ok; });
    if (!ok(result)) return result;
  }
  const Result kept = is_read_only() ? Result::ok : cache.keep_order();
  if (ok(kept) && is_entered()) cache.cut_log();
  return kept;
}

Result IndexFile::close(std::int32_t close_detail) {
  if (is_shared() && cache.leaves_log()) {
    const std::int32_t detail = block.detail;
    if (ok(enter())) {
      cache.cut_log();
      static_cast<void>(leave());
    }
    block.detail = detail;
  }
  const Result flushed = flush();
  const auto closed = system_file.close();
  return ok(flushed) && !closed.ok() ? fail(block, Result::io, close_detail) : flushed;
}

Result IndexFile::enter() {
  if (!is_shared()) return Result::ok;
  if (brackets_ == 0) {
    if (const Result result = take_hold(); !ok(result)) return result;
  }
  ++brackets_;
  return Result::ok;
}

Result IndexFile::leave() {
  if (brackets_ == 0 || --brackets_ > 0) return Result::ok;
  const Result written = write_back();
  const std::int32_t detail = block.detail;
  const Result left = let_go();
  if (ok(written)) return left;
  block.detail = detail;
  return written;
}

// The lock, and what the file holds now.
Result IndexFile::take_hold() {
  if (lock_is_callers_) return stale_ ? refresh() : Result::ok;
  const std::int32_t detail = block.detail;
  if (const Result result = take_lock(); !ok(result)) return result;
  block.detail = detail;
  const Result result = refresh();
  if (ok(result)) return result;
  const std::int32_t reason = block.detail;
  static_cast<void>(let_go());
  block.detail = reason;
  return result;
}

Result IndexFile::take_lock() {
  if (lock_lingers_) return Result::ok;
  Result result = table::lock_whole_file(block, system_file, scheme);
  for (std::uint32_t tries = 0; is_busy(result) && tries < kEagerTries + kPatientTries; ++tries) {
    platform::pause(tries < kEagerTries ? 0 : kPauseMilliseconds);
    result = table::lock_whole_file(block, system_file, scheme);
  }
  return result;
}

Result IndexFile::let_go() {
  if (lock_is_callers_) return Result::ok;
  const Result result = table::unlock_whole_file(block, system_file, scheme);
  lock_lingers_ = !ok(result);
  return result;
}

Result IndexFile::refresh() {
  stale_ = true;
  bool unfinished = false;
  if (const Result result = read_headers(unfinished); !ok(result)) return result;
  cache.drop_all();
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
  const Result result = cache.write_changed();
  if (!ok(result) || cache.is_unfinished()) stale_ = true;
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
