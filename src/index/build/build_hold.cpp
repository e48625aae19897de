#include "index/build/build_hold.h"

#include "table/locks.h"
#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::index {

Result TableHold::take() {
  if (table::has_lock_operations(table_) && !ok(table::file_lock_status(table_))) {
    if (const Result result = table::lock_file(table_); !ok(result)) return result;
    taken_ = true;
  }
  Result result = table::clear_buffers(table_);
  if (ok(result)) result = table::refresh_count(table_);
  return ok(result) ? result : release_after(result);
}

Result TableHold::release_after(Result work) {
  if (!taken_) return work;
  taken_ = false;
  VqBlock& block = table::block_of(table_);
  const std::int32_t detail = block.detail;
  const Result released = table::unlock_file(table_);
  if (ok(work)) return released;
  block.detail = detail;
  return work;
}

Result ReplacedFile::take(const std::string& path, std::int32_t locked_detail) {
  // What does not open is judged when the new file takes the place.
  if (!file_.open_replaceable(path).ok()) return Result::ok;
  const Result result = table::lock_whole_file(block_, file_, scheme_);
  return result == Result::file_locked ? fail(block_, result, locked_detail) : result;
}

platform::Outcome ReplacedFile::give_way_to(TemporaryFile& complete) {
  return complete.put_in_place(&file_);
}

}  // namespace vqdb::index
