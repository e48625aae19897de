#include "memo/compaction.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <utility>

#include "frame/bytes.h"
#include "frame/file_name.h"
#include "frame/progress.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "memo/creation.h"
#include "memo/dbase3_memo.h"
#include "memo/dbase4_file.h"
#include "memo/dbase4_memo.h"
#include "memo/driver_table.h"
#include "memo/memo.h"
#include "memo/names.h"
#include "memo/reference.h"
#include "platform/path.h"
#include "table/locks.h"
#include "table/records.h"
#include "table/table.h"

namespace vqdb::memo {
namespace {

constexpr std::int32_t kNoRecordBuffer = 1234;
constexpr std::int32_t kOldFileStays = 19876;
constexpr std::int32_t kNewFileStays = 19877;

constexpr std::int32_t kWorkBytes = 32768;
constexpr std::int32_t kLeastWorkBytes = 512;

// What a compaction has open, and the file that it builds. Whatever is left of it when it goes out
// of scope is closed and removed, and the detail code of the failure stays.
struct Files {
  VqBlock& block;
  const Driver& driver;
  platform::File replaced;  // with its lock
  TemporaryFile temporary;
  Memo* old = nullptr;
  Memo* fresh = nullptr;
  table::Table* table = nullptr;

  ~Files() {
    const std::int32_t detail = block.detail;
    static_cast<void>(close_all());
    block.detail = detail;
  }

  // The first failure of the three.
  Result close_all() {
    Result result = Result::ok;
    const auto keep_first = [&result](Result closed) {
      if (ok(result)) result = closed;
    };
    if (fresh != nullptr) keep_first(driver.close(*std::exchange(fresh, nullptr)));
    if (table != nullptr) keep_first(table::close(*std::exchange(table, nullptr)));
    if (old != nullptr) keep_first(driver.close(*std::exchange(old, nullptr)));
    return result;
  }
};

// The buffer that memos go through. Smaller ones are tried when there is no memory for the first.
struct Work {
  platform::Bytes bytes;
  std::int32_t size = kWorkBytes;

  bool allocate() {
    for (; size >= kLeastWorkBytes; size /= 2) {
      bytes = platform::allocate_bytes(static_cast<std::size_t>(size) + 1);
      if (bytes != nullptr) return true;
    }
    return false;
  }
};

Result last_result(const VqBlock& block) { return static_cast<Result>(block.result); }

Result open_files(Files& files, const char* name, const std::string& table, Layout layout) {
  VqBlock& block = files.block;
  files.old = files.driver.open(block, name, 0);
  if (files.old == nullptr) return last_result(block);
  files.table = table::open(block, table.c_str(), 0, 1);
  if (files.table == nullptr) return last_result(block);

  const std::string path = memo_path(name);
  const Result claimed = table::claim_file_at(block, path, files.replaced, kOldFileStays);
  if (!ok(claimed)) return claimed;
  const platform::Outcome made = files.temporary.make(block, path);
  if (!made.ok()) return fail(block, open_result(made.error), kNewFileStays);
  const std::string& temporary = files.temporary.path();
  const Result created = write_empty(block, files.temporary.file(), layout, base_name(path));
  if (!ok(created)) return created;
  TableMark mark;
  const Result marked = mark.set(block, platform::resolve(table), layout);
  if (!ok(marked)) return marked;
  files.fresh = layout == Layout::dbase4 ? open_dbase4_file(block, temporary, 0)
                                         : open_dbase3_file(block, temporary, 0);
  return files.fresh != nullptr ? Result::ok : last_result(block);
}

// Texts that are longer than the whole work buffer come out as repetitions of their first piece:
// hosts have met this rule for as long as the operation exists, and it is kept for the buffer size
// that it was made with. A smaller buffer reads on.
Result copy_dbase4(Files& files, const Work& work, const char* reference, std::int32_t length) {
  const bool repeats = work.size == kWorkBytes;
  std::int32_t left = length;
  const auto next = [&](std::span<const Byte>& piece) {
    const std::int32_t offset = repeats ? 0 : length - left;
    std::int32_t size = 0;
    const Result read = get_dbase4(*files.old, reference, offset, std::min(left, work.size),
                                   work.bytes.get(), &size, nullptr);
    piece = {work.bytes.get(), static_cast<std::size_t>(size)};
    left -= size;
    return read;
  };
  return new_dbase4_in_pieces(*files.fresh, static_cast<std::uint32_t>(length), next);
}

// A text is only ever read as a whole; a long one goes through a buffer of its own.
Result copy_dbase3(Files& files, const Work& work, const char* reference, std::int32_t length) {
  platform::Bytes large;
  if (length > work.size) {
    large = platform::allocate_bytes(static_cast<std::size_t>(length) + 1);
    if (large == nullptr) return Result::no_memory;
  }
  Byte* const text = large != nullptr ? large.get() : work.bytes.get();
  std::array<char, kReferenceWidth> copy;
  const Result read = get_dbase3(*files.old, reference, text, &length, nullptr);
  return ok(read) ? write_dbase3(*files.fresh, text, copy.data(), nullptr) : read;
}

Result copy_memo(Files& files, const Work& work, const char* reference) {
  std::int32_t length = 0;
  const Result sized = files.driver.size(*files.old, reference, &length);
  if (!ok(sized) || length == 0) return sized;
  return files.old->layout == Layout::dbase4 ? copy_dbase4(files, work, reference, length)
                                             : copy_dbase3(files, work, reference, length);
}

Result copy_memos(Files& files, const Work& work) {
  table::Table& table = *files.table;
  const platform::Bytes record = platform::allocate_bytes(table::record_length(table));
  if (record == nullptr) return fail(files.block, Result::no_memory, kNoRecordBuffer);
  std::uint32_t count = 0;
  if (const Result counted = table::record_count(table, count); !ok(counted)) return counted;
  for (std::uint32_t recno = 1; recno <= count; ++recno) {
    if (cancelled(files.block, recno - 1, count)) {
      return fail(files.block, Result::cancelled, kCancelledDetail);
    }
    const Result read = table::read_whole_record(table, recno, record.get());
    if (!ok(read)) return read;
    for (const table::Field& field : table::fields(table)) {
      if (field.type != 'M' || field.length < kReferenceWidth) continue;
      const auto* reference = reinterpret_cast<const char*>(record.get() + field.offset);
      if (memo_field_state(reference) != 1) continue;
      if (const Result copied = copy_memo(files, work, reference); !ok(copied)) return copied;
    }
  }
  return Result::ok;
}

}  // namespace

Result compact(VqBlock& block, const char* name) {
  Work work;
  if (!work.allocate()) return Result::no_memory;
  const std::string table = table_name(name);
  Layout layout = Layout::none;
  Result result = layout_of_table(block, platform::resolve(table), layout);
  if (!ok(result)) return result;
  Files files{block, driver(layout == Layout::dbase4 ? kDbase4Column : kDbase3Column), {}, {}};
  result = open_files(files, name, table, layout);
  if (ok(result)) result = copy_memos(files, work);
  if (ok(result)) result = files.close_all();
  if (!ok(result)) return result;

  const platform::Outcome placed = files.temporary.put_in_place(&files.replaced);
  if (placed.ok()) return Result::ok;
  const bool in_use = placed.error == platform::Error::access_denied;
  return fail(block, Result::io, in_use ? kOldFileStays : kNewFileStays);
}

}  // namespace vqdb::memo
