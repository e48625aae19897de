#include "index/keys/key_feed.h"

#include <array>
#include <cstring>

#include "index/keys/stream_order.h"
#include "table/records.h"

namespace vqdb::index {
namespace {

constexpr Operation kFeed{1029};

// The host's position in the table, put back when the feed is done.
class KeptPosition {
 public:
  explicit KeptPosition(table::Table& table)
      : table_(table), recno_(table::current_record(table)) {}
  ~KeptPosition() { table::set_current_record(table_, recno_); }
  KeptPosition(const KeptPosition&) = delete;
  KeptPosition& operator=(const KeptPosition&) = delete;

 private:
  table::Table& table_;
  const std::uint32_t recno_;
};

}  // namespace

Result KeyFeed::write_key(const void* record, Byte* key) {
  std::int32_t length = 0;
  const Result result = expr::run(table::block_of(table_), expression_, record, options_,
                                  static_cast<std::int32_t>(key_length_), key, length);
  if (!ok(result)) return result;
  const auto written = static_cast<std::uint32_t>(length);
  if (written < key_length_) std::memset(key + written, ' ', key_length_ - written);
  return Result::ok;
}

Result KeyFeed::run(std::uint32_t count, sort::ExternalSort& sort, Progress& progress) {
  const platform::Bytes record = platform::allocate_bytes(table::record_length(table_));
  if (record == nullptr) {
    return fail(table::block_of(table_), Result::no_memory, kFeed.detail(2));
  }
  const KeptPosition position(table_);
  for (std::uint32_t recno = 1; recno <= count; ++recno) {
    Result result = table::read_whole_record(table_, recno, record.get());
    if (ok(result)) result = add_record(recno, record.get(), sort);
    if (ok(result)) result = progress.step();
    if (!ok(result)) return result;
  }
  return Result::ok;
}

Result KeyFeed::passes(const void* record, bool& yes) {
  yes = true;
  if (filter_ == nullptr) return Result::ok;
  std::array<Byte, 16> value;
  std::int32_t length = 0;
  const Result result =
      expr::run(table::block_of(table_), *filter_, record, 0, 1, value.data(), length);
  yes = ok(result) && length > 0 && value[0] == 'T';
  return result;
}

Result KeyFeed::add_record(std::uint32_t recno, const void* record, sort::ExternalSort& sort) {
  bool passes_filter = false;
  Result result = passes(record, passes_filter);
  if (!ok(result) || !passes_filter) return result;
  Byte* entry = nullptr;
  result = sort.make_room(entry);
  if (!ok(result)) return result;
  store_le32(entry, recno);
  result = write_key(record, entry + kEntryHead);
  if (ok(result)) sort.accept();
  return result;
}

}  // namespace vqdb::index
