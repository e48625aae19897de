#include "index/ndx_sharing.h"

#include <array>

#include "frame/system_file.h"
#include "platform/clock.h"
#include "table/locks.h"

namespace vqdb::index {
namespace {

constexpr Operation kRefresh{1019};
constexpr Operation kLockFile{313};
constexpr Operation kLockStatus{314};
constexpr Operation kUnlockFile{322};

// Another operation holds the lock for some microseconds; a caller's own lock may take longer.
constexpr std::uint32_t kEagerTries = 50;
constexpr std::uint32_t kPatientTries = 3000;
constexpr std::uint32_t kPauseMilliseconds = 1;

constexpr std::uint32_t kFirstSchemeWithoutLocks = 4;

bool is_busy(Result result) { return result == Result::file_locked || result == Result::locked; }

Result write_back(NdxFile& file) {
  const Result result = file.cache.write_changed();
  if (!ok(result)) file.stale = true;
  return result;
}

Result let_go(NdxFile& file) {
  if (file.lock_is_callers) return Result::ok;
  const Result result = table::unlock_whole_file(*file.block, file.store.file(), file.scheme);
  file.lock_lingers = !ok(result);
  return result;
}

// The lock, and what the file holds now.
Result take_hold(NdxFile& file) {
  if (file.lock_is_callers) return file.stale ? refresh(file) : Result::ok;
  const std::int32_t detail = file.block->detail;
  Result result = file.lock_lingers
                      ? Result::ok
                      : table::lock_whole_file(*file.block, file.store.file(), file.scheme);
  for (std::uint32_t tries = 0; is_busy(result) && tries < kEagerTries + kPatientTries; ++tries) {
    platform::pause(tries < kEagerTries ? 0 : kPauseMilliseconds);
    result = table::lock_whole_file(*file.block, file.store.file(), file.scheme);
  }
  if (!ok(result)) return result;
  file.block->detail = detail;
  result = refresh(file);
  if (ok(result)) return result;
  const std::int32_t reason = file.block->detail;
  static_cast<void>(let_go(file));
  file.block->detail = reason;
  return result;
}

}  // namespace

Result enter(NdxFile& file) {
  if (!file.is_shared()) return Result::ok;
  if (file.brackets == 0) {
    if (const Result result = take_hold(file); !ok(result)) return result;
  }
  ++file.brackets;
  return Result::ok;
}

Result leave(NdxFile& file) {
  if (file.brackets == 0 || --file.brackets > 0) return Result::ok;
  const Result written = write_back(file);
  const std::int32_t detail = file.block->detail;
  const Result left = let_go(file);
  if (ok(written)) return left;
  file.block->detail = detail;
  return written;
}

Result refresh(NdxFile& file) {
  file.stale = true;
  std::array<Byte, kNdxRootBytes> bytes;
  const auto outcome = file.store.file().read_exactly(0, bytes.data(), bytes.size());
  if (!outcome.ok()) return fail(file.block, transfer_result(outcome), kRefresh.detail(1));
  const PageNumber root = load_le32(bytes.data());
  const PageNumber next_free = load_le32(bytes.data() + sizeof root);
  PageNumber pages = file.store.pages_in_file();
  if (next_free > pages) {
    std::uint64_t size = 0;
    const auto sized = file.store.file().size(size);
    if (!sized.ok()) return fail(file.block, Result::io, kRefresh.detail(2));
    if (next_free > (size + kNdxPageBytes - 1) / kNdxPageBytes) {
      return fail(file.block, Result::bad_format, kRefresh.detail(3));
    }
    pages = next_free;
  }
  if (root == 0 || root >= next_free) {
    return fail(file.block, Result::bad_format, kRefresh.detail(3));
  }
  file.store.set(root, next_free, pages);
  file.tree.set_root(root);
  file.cache.drop_all();
  file.stale = false;
  return Result::ok;
}

Result lock_index_file(NdxFile& file) {
  if (file.scheme >= kFirstSchemeWithoutLocks) {
    return fail(file.block, Result::no_driver, kLockFile.detail(2));
  }
  if (file.lock_is_callers) return Result::ok;
  if (const Result result = table::lock_whole_file(*file.block, file.store.file(), file.scheme);
      !ok(result)) {
    return fail(file.block, result, kLockFile.detail(3));
  }
  file.lock_is_callers = true;
  if (file.is_shared()) file.stale = true;
  return Result::ok;
}

Result unlock_index_file(NdxFile& file) {
  if (file.scheme >= kFirstSchemeWithoutLocks) {
    return fail(file.block, Result::no_driver, kUnlockFile.detail(2));
  }
  if (!file.lock_is_callers) return fail(file.block, Result::not_locked, kUnlockFile.detail(3));
  file.lock_is_callers = false;
  const Result result = table::unlock_whole_file(*file.block, file.store.file(), file.scheme);
  return ok(result) ? result : fail(file.block, result, kUnlockFile.detail(4));
}

Result index_lock_status(NdxFile& file) {
  if (file.scheme >= kFirstSchemeWithoutLocks) {
    return fail(file.block, Result::no_driver, kLockStatus.detail(2));
  }
  if (file.lock_is_callers) return Result::ok;
  Result result = table::lock_whole_file(*file.block, file.store.file(), file.scheme);
  if (is_busy(result)) return fail(file.block, Result::locked, kLockStatus.detail(4));
  if (ok(result)) result = table::unlock_whole_file(*file.block, file.store.file(), file.scheme);
  return ok(result) ? fail(file.block, Result::not_locked, kLockStatus.detail(3))
                    : fail(file.block, result, kLockStatus.detail(5));
}

}  // namespace vqdb::index
