#include "check/held_file.h"

#include <algorithm>

#include "check/operations.h"
#include "frame/system_file.h"
#include "frame/wait.h"
#include "table/locks.h"

namespace vqdb::check {
namespace {

// Others hold a lock for the time of an operation, hosts for the time of a change.
constexpr std::uint32_t kMilliseconds = 3000;

}  // namespace

Result HeldFile::open(const std::string& path, Hold hold) {
  path_ = path;
  Result result = open_file(block_, path, open_mode::kReadOnly, file_);
  if (ok(result)) result = take_lock(hold);
  if (ok(result)) result = look(opened_);
  return result;
}

Result HeldFile::take_lock(Hold hold) {
  if (hold == Hold::none) return Result::ok;
  const std::uint32_t scheme = block_.index_kind;
  table::UnopenedLock held;
  for (Wait wait(kMilliseconds);;) {
    const Result result = hold == Hold::table
                              ? table::lock_unopened_table(block_, file_, scheme, held)
                              : table::lock_whole_file(block_, file_, scheme);
    if (!is_busy(result) || !wait.goes_on()) return result;
  }
}

Result HeldFile::look(State& state) {
  std::size_t got = 0;
  const bool known = file_.last_change(state.change).ok() &&
                     file_.read_at(0, state.head.data(), state.head.size(), got).ok();
  return known ? Result::ok : fail(block_, Result::io, kCheck.detail(1));
}

Result HeldFile::confirm_unchanged() {
  State state;
  const Result result = look(state);
  if (!ok(result) || state == opened_) return result;
  return fail(block_, Result::file_locked, kCheck.detail(2));
}

Result HeldFile::take_up_log(std::uint32_t page, bool& found) {
  const index::RedoLog::Found log = log_.read(file_, page);
  found = log == index::RedoLog::Found::log;
  if (log == index::RedoLog::Found::unreadable) return fail(block_, Result::io, kCheck.detail(1));
  if (log != index::RedoLog::Found::no_memory) return Result::ok;
  return fail(block_, Result::no_memory, kCheck.detail(3));
}

Result HeldFile::read(std::uint64_t offset, void* data, std::size_t size) {
  const platform::Outcome outcome = file_.read_exactly(offset, data, size);
  log_.patch(offset, {static_cast<Byte*>(data), size});
  return outcome.ok() ? Result::ok : fail(block_, Result::io, kCheck.detail(1));
}

}  // namespace vqdb::check
