#include "table/describe.h"

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "table/record_file.h"

namespace vqdb::table {
namespace {

constexpr Operation kMode{28};
constexpr Operation kReadHeader{31};
constexpr Operation kOpen{1004};

constexpr std::uint64_t kTableMemory = 467;
constexpr std::uint64_t kFieldMemory = 14;
constexpr std::uint64_t kBufferMemory = 30;  // beside the block itself

// dDmode looks at this many bytes; no table is shorter.
constexpr std::size_t kModeBytes = 50;

constexpr Byte kMemoBit = 0x80;
constexpr Byte kDbase4Bit = 0x08;

namespace kind {
constexpr std::int32_t kProduction = 2;
constexpr std::int32_t kDbase4Memo = 4;
constexpr std::int32_t kDbase3Memo = 8;
constexpr std::int32_t kEncrypted = 16;
constexpr std::int32_t kFoxproMemo = 32;
}  // namespace kind

std::int32_t memo_kind_of(Byte version) {
  if (version == version::kFoxproMemo) return kind::kFoxproMemo;
  if ((version & kMemoBit) == 0) return 0;
  return (version & kDbase4Bit) != 0 ? kind::kDbase4Memo : kind::kDbase3Memo;
}

}  // namespace

Result read_header(VqBlock& block, platform::File& file, Header& header) {
  std::array<Byte, kHeaderBytes> bytes;
  const platform::Outcome outcome = file.read_exactly(0, bytes.data(), bytes.size());
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kReadHeader.detail(1));
  header = decode_header(bytes);
  return check_header(block, header);
}

Result check_header(VqBlock& block, const Header& header) {
  if (header.header_length < kMinHeaderLength || header.record_length == 0) {
    return fail(block, Result::bad_format, kReadHeader.detail(2));
  }
  return Result::ok;
}

std::uint64_t memory_need(std::uint32_t field_count, std::uint32_t record_length,
                          std::uint32_t buffers) {
  return kTableMemory + kFieldMemory * field_count +
         (block_size_for(record_length) + kBufferMemory) * buffers;
}

Result memory_need_of(VqBlock& block, const char* name, std::int32_t buffers, std::int32_t& bytes) {
  platform::File file;
  Header header;
  Result result = open_file(block, path_of(name, "DBF"), open_mode::kReadOnly, file);
  if (ok(result)) result = read_header(block, file, header);
  if (!ok(result)) return result;
  const std::uint64_t need = memory_need(header.field_room(), header.record_length,
                                         buffers < 0 ? 1 : static_cast<std::uint32_t>(buffers));
  if (need > kMaxMemoryNeed) return fail(block, Result::no_memory, kOpen.detail(7));
  bytes = static_cast<std::int32_t>(need);
  return Result::ok;
}

Result kind_of(VqBlock& block, const char* name, std::int32_t& kind) {
  platform::File file;
  if (const Result result = open_file(block, path_of(name, "DBF"), open_mode::kReadOnly, file);
      !ok(result)) {
    return result;
  }
  std::array<Byte, kModeBytes> bytes;
  const platform::Outcome outcome = file.read_exactly(0, bytes.data(), bytes.size());
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kMode.detail(1));
  const Header header = decode_header(std::span(bytes).first<kHeaderBytes>());
  if (!is_accepted_version(header.version, block.kind)) {
    return fail(block, Result::bad_format, kMode.detail(2));
  }
  kind = memo_kind_of(header.version) + (header.production ? kind::kProduction : 0) +
         (header.encrypted ? kind::kEncrypted : 0);
  return Result::ok;
}

}  // namespace vqdb::table
