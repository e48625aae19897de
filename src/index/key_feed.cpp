#include "index/key_feed.h"

#include <cstring>

#include "index/stream_order.h"
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
    Byte* entry = nullptr;
    const Result read = table::read_whole_record(table_, recno, record.get());
    if (!ok(read)) return read;
    if (const Result result = sort.make_room(entry); !ok(result)) return result;
    store_le32(entry, recno);
    if (const Result result = write_key(record.get(), entry + kEntryHead); !ok(result)) {
      return result;
    }
    sort.accept();
    if (const Result result = progress.step(); !ok(result)) return result;
  }
  return Result::ok;
}

}  // namespace vqdb::index
