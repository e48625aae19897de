#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "table/describe.h"
#include "table/interrupted.h"
#include "table/records.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kClose{30};
constexpr Operation kReadHeader{31};
constexpr Operation kOpen{1004};

// Closes the slot of a table whose opening fails half way.
struct CloseSlot {
  void operator()(Table* table) const { tables().close(table); }
};

BufferPolicy policy_of(std::uint32_t mode) {
  const bool cached = (mode & open_mode::kSharedCached) != 0;
  if (cached && (mode & open_mode::kReadOnly) == 0) return BufferPolicy::cached_reads;
  const bool direct = !cached && (mode & open_mode::kSharedReread) != 0;
  return direct ? BufferPolicy::direct_reads : BufferPolicy::write_back;
}

// Header and descriptors of a usual table fit in what is read first.
constexpr std::size_t kFirstBytes = 2048;

// Reads header and descriptors and takes over what they say.
Result read_structure(VqBlock& block, platform::File file, Table& table) {
  std::array<Byte, kFirstBytes> first;
  std::size_t known = 0;
  if (!file.read_at(0, first.data(), first.size(), known).ok() || known < kHeaderBytes) {
    return fail(block, Result::io, kReadHeader.detail(1));
  }
  const Header header = decode_header(std::span(first).first<kHeaderBytes>());
  if (const Result result = check_header(block, header); !ok(result)) return result;
  const std::uint32_t field_room = header.field_room();
  const std::size_t bytes_wanted = kHeaderBytes + field_room * kDescriptorBytes;
  const platform::Bytes bytes = platform::allocate_bytes(bytes_wanted + kDescriptorBytes);
  table.field_memory = platform::allocate_bytes(field_room * sizeof(Field));
  if (bytes == nullptr || table.field_memory == nullptr) {
    return fail(block, Result::no_memory, kOpen.detail(3));
  }
  known = std::min(known, bytes_wanted);
  std::memcpy(bytes.get(), first.data(), known);
  if (!file.read_exactly(known, bytes.get() + known, bytes_wanted - known).ok()) {
    return fail(block, Result::io, kOpen.detail(4));
  }
  if (header.encrypted) return fail(block, Result::encrypted, kOpen.detail(5));
  if (!is_accepted_version(header.version, block.kind)) {
    return fail(block, Result::bad_format, kOpen.detail(6));
  }
  table.field_count =
      decode_fields({bytes.get() + kHeaderBytes, bytes_wanted - kHeaderBytes}, header.record_length,
                    reinterpret_cast<Field*>(table.field_memory.get()));
  if (table.field_count == 0) return fail(block, Result::bad_format, kOpen.detail(8));
  if (!table.field_names.take_in(fields(table))) {
    return fail(block, Result::no_memory, kOpen.detail(3));
  }
  table.field_room = field_room;
  table.production = header.production;
  table.updated = header.updated;
  RecordFile& records = table.records;
  records.file = std::move(file);
  records.header_length = header.header_length;
  records.record_length = header.record_length;
  records.block_size = block_size_for(header.record_length);
  records.records_per_block = records.block_size / header.record_length;
  records.count = header.count;
  table.stored_count = header.count;
  return Result::ok;
}

// A table that lacks records which its header counts can be read as far as it goes.
Result look_at_size(VqBlock& block, Table& table) {
  RecordFile& records = table.records;
  std::uint64_t bytes = 0;
  const platform::Outcome outcome = records.file.size(bytes);
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kOpen.detail(4));
  table.is_of_this_machine = table.is_shared() && records.file.notes_changes();
  table.short_file =
      bytes < records.header_length + std::uint64_t{records.count} * records.record_length;
  return Result::ok;
}

Result open_file_into(VqBlock& block, const std::string& path, std::uint32_t mode,
                      std::int32_t buffers, Table& table) {
  if (const Result result = complete_interrupted(block, path); !ok(result)) return result;
  platform::File file;
  if (const Result result = open_file(block, path, mode, file); !ok(result)) return result;
  table.mode = mode;
  table.policy = policy_of(mode);
  table.scheme = block.index_kind;
  Result result = read_structure(block, std::move(file), table);
  if (ok(result)) result = look_at_size(block, table);
  if (!ok(result)) return result;

  const std::int32_t least = table.policy == BufferPolicy::direct_reads ? 0 : 1;
  const auto count = static_cast<std::uint32_t>(std::max(buffers, least));
  const std::uint64_t need = memory_need(table.field_room, table.records.record_length, count);
  if (need > kMaxMemoryNeed || !table.cache.allocate(count, !table.is_shared())) {
    return fail(block, Result::no_memory, kOpen.detail(7));
  }
  table.file_number = table.records.file.number();
  return Result::ok;
}

}  // namespace

Table* open(VqBlock& block, const char* name, std::uint32_t mode, std::int32_t buffers) {
  return open_path(block, path_of(name, "DBF"), mode, buffers);
}

Table* open_path(VqBlock& block, const std::string& path, std::uint32_t mode,
                 std::int32_t buffers) {
  std::unique_ptr<Table, CloseSlot> table(tables().open(&block, &block));
  const Result result = table == nullptr ? fail(block, Result::no_memory, kOpen.detail(3))
                                         : open_file_into(block, path, mode, buffers, *table);
  if (!ok(result)) {
    block.result = code(result);
    return nullptr;
  }
  table->path = path;
  table->signature = kHandleSignature;
  return table.release();
}

Result close(Table& table) {
  VqBlock* const block = table.block;
  Result result = flush(table);
  const bool closed = table.records.file.close().ok();
  tables().close(&table);
  if (ok(result) && !closed) result = fail(block, Result::io, kClose.detail(6));
  return result;
}

}  // namespace vqdb::table
