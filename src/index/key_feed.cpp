#include "index/key_feed.h"

#include <cstring>

#include "index/stream_order.h"
#include "table/records.h"

namespace vqdb::index {
namespace {

constexpr Operation kFeed{1029};

// Records are read whole, whatever the host's layout, and the host's position stays.
class WholeRecords {
 public:
  explicit WholeRecords(table::Table& table)
      : table_(table),
        flags_(table::block_of(table).runtime_flags),
        recno_(table::current_record(table)) {
    const auto fields_only = static_cast<std::uint16_t>(runtime_flag::kFieldsOnly);
    table::block_of(table).runtime_flags = static_cast<std::uint16_t>(flags_ & ~fields_only);
  }
  ~WholeRecords() {
    table::block_of(table_).runtime_flags = flags_;
    table::set_current_record(table_, recno_);
  }
  WholeRecords(const WholeRecords&) = delete;
  WholeRecords& operator=(const WholeRecords&) = delete;

 private:
  table::Table& table_;
  const std::uint16_t flags_;
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
  const WholeRecords whole(table_);
  for (std::uint32_t recno = 1; recno <= count; ++recno) {
    Byte* entry = nullptr;
    if (const Result result = table::read_record(table_, recno, record.get()); !ok(result)) {
      return result;
    }
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
