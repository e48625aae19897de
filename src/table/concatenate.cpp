#include "table/concatenate.h"

#include <algorithm>
#include <array>

#include "frame/file_name.h"
#include "frame/progress.h"
#include "frame/system_file.h"
#include "platform/memory.h"
#include "table/copy.h"
#include "table/header.h"
#include "table/lock_scheme.h"
#include "table/locks.h"
#include "table/record_file.h"
#include "table/scoped_table.h"

namespace vqdb::table {
namespace {

constexpr Operation kCat{34};  // its details run on to 358

constexpr std::size_t kLookBytes = 16;  // of a header
constexpr std::size_t kWorkBytes = 16384;

// Where the records of a file start and end, by its header.
struct Extent {
  std::uint64_t start;
  std::uint32_t count;
  std::uint32_t record_length;

  std::uint64_t end() const { return start + std::uint64_t{count} * record_length; }
};

// One concatenation: both files, and the work area that bytes pass through.
class Concatenation {
 public:
  explicit Concatenation(VqBlock& block) : block_(block) {}

  Result run(const char* target, const char* source);

 private:
  Result open(platform::File& file, const std::string& path, std::uint32_t mode,
              std::int32_t digit);
  Result look(platform::File& file, std::int32_t digit, Extent& extent);
  Result copy(std::uint64_t from, std::uint64_t to, std::uint64_t bytes);
  Result supply_end_mark(std::uint64_t end);
  bool cut_behind(std::uint64_t records);
  Result write_count(std::uint32_t old_count, std::uint32_t count);
  Result copy_whole_file();
  Result append_records();

  VqBlock& block_;
  std::string source_path_;
  std::string target_path_;
  platform::File source_;
  platform::File target_;
  platform::Bytes work_;
};

Result Concatenation::open(platform::File& file, const std::string& path, std::uint32_t mode,
                           std::int32_t digit) {
  const Result result = open_file(block_, path, mode, file);
  return ok(result) ? result : fail(block_, result, kCat.detail(digit));
}

Result Concatenation::look(platform::File& file, std::int32_t digit, Extent& extent) {
  std::array<Byte, kHeaderBytes> bytes = {};
  if (!file.read_exactly(0, bytes.data(), kLookBytes).ok()) {
    return fail(block_, Result::io, kCat.detail(digit));
  }
  const Header header = decode_header(bytes);
  extent = {header.header_length, header.count, header.record_length};
  return Result::ok;
}

// Copies whole chunks until so many bytes are copied, so that the last may bring more. A source
// that lacks but the last byte, its end mark, is complete.
Result Concatenation::copy(std::uint64_t from, std::uint64_t to, std::uint64_t bytes) {
  const auto chunks = static_cast<std::uint32_t>((bytes + kWorkBytes - 1) / kWorkBytes);
  std::uint32_t chunk = 0;
  std::uint64_t copied = 0;
  while (copied < bytes) {
    std::size_t size = 0;
    const platform::Outcome read = source_.read_at(from + copied, work_.get(), kWorkBytes, size);
    if (!read.ok()) return fail(block_, Result::io, kCat.detail(18));
    if (size == 0) break;
    if (!target_.write_at(to + copied, work_.get(), size).ok()) {
      return fail(block_, Result::io, kCat.detail(17));
    }
    copied += size;
    if (cancelled(block_, ++chunk, chunks)) {
      return fail(block_, Result::cancelled, kCancelledDetail);
    }
  }
  if (copied + 1 < bytes) return fail(block_, Result::bad_format, kCat.detail(18));
  return copied < bytes ? supply_end_mark(to + copied) : Result::ok;
}

Result Concatenation::supply_end_mark(std::uint64_t end) {
  return target_.write_at(end, &kEndMark, 1).ok() ? Result::ok
                                                  : fail(block_, Result::io, kCat.detail(17));
}

// There is no target: it becomes a copy of the source.
Result Concatenation::copy_whole_file() {
  Extent extent;
  if (const Result result = look(source_, 4, extent); !ok(result)) return result;
  std::string path;
  platform::Outcome made = platform::real_path(target_path_, path);
  if (made.ok()) made = target_.create(path, platform::Creation::exclusive);
  if (!made.ok()) return fail(block_, open_result(made.error), kCat.detail(5));
  Result result = copy(0, 0, extent.end() + 1);
  if (!target_.close().ok() && ok(result)) {
    result = fail(block_, Result::io, kCat.detail(17));
  }
  if (!ok(result)) (void)platform::remove(path);
  return result;
}

// What was written behind does not count: the file keeps its length, unless that is what tells the
// count.
bool Concatenation::cut_behind(std::uint64_t records) {
  return (block_.kind & dialect::kCountBySize) == 0 || target_.truncate(records + 1).ok();
}

Result Concatenation::append_records() {
  // Nobody appends to the target, or changes it, meanwhile.
  ScopedTable target;
  Result result = target.open(block_, target_path_, 0, 1);
  if (ok(result)) result = claim_table(*target);
  if (ok(result)) result = open(target_, target_path_, 0, 6);
  if (ok(result)) result = open(source_, source_path_, open_mode::kReadOnly, 7);
  Extent to;
  Extent from;
  if (ok(result)) result = look(target_, 8, to);
  if (ok(result)) result = look(source_, 9, from);
  if (!ok(result)) return result;
  const std::uint64_t bytes = from.end() - from.start;
  if (to.record_length != from.record_length) {
    return fail(block_, Result::mismatch, kCat.detail(11));
  }
  if (to.end() + bytes + 1 > lock_scheme_of(block_.index_kind).data_end) {
    return fail(block_, Result::disk_full, kCat.detail(10));
  }
  std::uint64_t size = 0;
  if (!target_.size(size).ok() || size < to.end()) {
    return fail(block_, Result::io, kCat.detail(10));
  }
  if (!source_.size(size).ok() || size < from.end()) {
    return fail(block_, Result::bad_format, kCat.detail(18));
  }
  result = copy(from.start, to.end(), bytes + 1);
  // Appended to itself, a table has lost the source's end mark to the first record.
  if (ok(result) && platform::may_be_same_file(source_path_, target_path_))
    result = supply_end_mark(to.end() + bytes);
  // The last chunk may have brought what the source has behind its end mark.
  if (ok(result) && !cut_behind(to.end() + bytes)) {
    result = fail(block_, Result::io, kCat.detail(13));
  }
  if (ok(result)) result = write_count(to.count, to.count + from.count);
  if (!ok(result)) {
    const bool ended = target_.write_at(to.end(), &kEndMark, 1).ok() && cut_behind(to.end());
    return ended ? result : fail(block_, result, kCat.detail(12));
  }
  return target_.close().ok() ? Result::ok : fail(block_, Result::io, kCat.detail(13));
}

Result Concatenation::write_count(std::uint32_t old_count, std::uint32_t count) {
  std::array<Byte, 4> bytes;
  store_le32(bytes.data(), count);
  if (target_.write_at(kCountOffset, bytes.data(), bytes.size()).ok()) return Result::ok;
  // Half a count is worse than the old one.
  store_le32(bytes.data(), old_count);
  (void)target_.write_at(kCountOffset, bytes.data(), bytes.size());
  return fail(block_, Result::io, kCat.detail(13));
}

Result Concatenation::run(const char* target, const char* source) {
  source_path_ = path_of(source, "DBF");
  target_path_ = path_of(target, "DBF");
  Result result = open(source_, source_path_, open_mode::kReadOnly, 1);
  if (!ok(result)) return result;
  work_ = platform::allocate_bytes(kWorkBytes);
  if (work_ == nullptr) return fail(block_, Result::no_memory, kCat.detail(2));
  const std::int32_t detail = block_.detail;
  result = open(target_, target_path_, 0, 3);
  if (result == Result::not_found) {
    block_.detail = detail;  // no failure
    return copy_whole_file();
  }
  if (!ok(result)) return result;
  (void)source_.close();
  (void)target_.close();
  result = compare_structures(block_, target, source);
  return ok(result) ? append_records() : result;
}

}  // namespace

Result concatenate(VqBlock& block, const char* target, const char* source) {
  return Concatenation(block).run(target, source);
}

}  // namespace vqdb::table
