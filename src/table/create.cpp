#include "table/create.h"

#include <algorithm>

#include "convert/calendar.h"
#include "frame/file_name.h"
#include "frame/system_file.h"
#include "table/field_type.h"
#include "table/header.h"
#include "table/interrupted.h"
#include "table/locks.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kCreate{15};  // its details run on to 164

constexpr std::uint32_t kPieceBytes = 8224;  // descriptors are written in such pieces

struct Limits {
  std::size_t fields;
  std::uint32_t field_bytes;  // sum of the field lengths
};

Limits limits_of(std::uint32_t kind) {
  Limits limits{255, 4000};
  if ((kind & dialect::kWide) != 0) limits = {1024, 32767};
  if ((kind & dialect::kFoxpro) != 0) limits.field_bytes = 65500;
  return limits;
}

}  // namespace

bool is_field_name(std::string_view name) {
  if (name.empty() || is_digit(name.front())) return false;
  return std::all_of(name.begin(), name.end(),
                     [](char c) { return is_letter(c) || is_digit(c) || c == '_'; });
}

bool is_memo_type(char type) { return type == 'M' || type == 'B' || type == 'G' || type == 'P'; }

Result NewTable::start(std::size_t field_count) {
  if (field_count < 1 || field_count > limits_of(block_.kind).fields) {
    return fail(block_, Result::out_of_range, kCreate.detail(1));
  }
  descriptors_ = platform::allocate_bytes(field_count * kDescriptorBytes + 1);
  if (descriptors_ == nullptr) return fail(block_, Result::no_memory, kCreate.detail(2));
  names_.reserve(field_count);
  return Result::ok;
}

Result NewTable::name_field(std::string_view name, Field& field) {
  field.name = {};
  if (name.size() > kMaxFieldName) return fail(block_, Result::out_of_range, kCreate.detail(6));
  std::transform(name.begin(), name.end(), field.name.begin(), to_upper);
  std::copy(field.name.begin(), field.name.end(), block_.field_name);
  if (!is_field_name(name)) return fail(block_, Result::not_allowed, kCreate.detail(7));
  if (std::find(names_.begin(), names_.end(), field.name) != names_.end()) {
    return fail(block_, Result::not_allowed, kCreate.detail(8));
  }
  return Result::ok;
}

Result NewTable::add(const Field& field) {
  field_bytes_ += field.length;
  if (field_bytes_ > limits_of(block_.kind).field_bytes) {
    return fail(block_, Result::out_of_range, kCreate.detail(12));
  }
  names_.push_back(field.name);
  has_memo_ = has_memo_ || is_memo_type(field.type);
  Byte* const place = &descriptors_[descriptor_bytes_];
  encode_field(field, std::span<Byte, kDescriptorBytes>(place, kDescriptorBytes));
  descriptor_bytes_ += kDescriptorBytes;
  return Result::ok;
}

Byte NewTable::version() const {
  if (!has_memo_) return version::kPlain;
  if ((block_.kind & dialect::kDbase4) != 0) return version::kDbase4Memo;
  return (block_.kind & dialect::kFoxpro) != 0 ? version::kFoxproMemo : version::kDbase3Memo;
}

Result NewTable::replace(const std::string& path) {
  platform::File replaced;
  Result result = complete_interrupted(block_, path);
  if (ok(result)) result = claim_table_at(block_, path, replaced, kCreate.detail(3));
  return ok(result) ? write(path) : result;
}

Result NewTable::write(const std::string& name) {
  std::string path;
  platform::File file;
  platform::Outcome made = platform::real_path(name, path);  // a link stays
  if (made.ok()) made = file.create(path, platform::Creation::truncate);
  if (!made.ok()) return fail(block_, open_result(made.error), kCreate.detail(3));
  Result result = write(file);
  if (!file.close().ok() && ok(result)) result = fail(block_, Result::io, kCreate.detail(14));
  if (!ok(result)) (void)platform::remove(path);
  return result;
}

Result NewTable::write(platform::File& file) {
  descriptors_[descriptor_bytes_] = kHeaderEnd;
  const std::uint32_t bytes = descriptor_bytes_ + 1;
  for (std::uint32_t done = 0; done < bytes;) {
    const std::uint32_t piece = std::min(bytes - done, kPieceBytes);
    const platform::Outcome outcome =
        file.write_at(kHeaderBytes + done, &descriptors_[done], piece);
    done += piece;
    if (!outcome.ok()) {
      return fail(block_, transfer_result(outcome), kCreate.detail(done < bytes ? 5 : 13));
    }
  }
  Header header;
  header.version = version();
  header.updated = convert::today();
  header.header_length = kHeaderBytes + bytes;
  header.record_length = field_bytes_ + 1;
  std::array<Byte, kHeaderBytes> start;
  encode_header(header, start);
  const platform::Outcome outcome = file.write_at(0, start.data(), start.size());
  return outcome.ok() ? Result::ok : fail(block_, transfer_result(outcome), kCreate.detail(14));
}

Result NewTable::add_described(std::int32_t count, const char* const* fields) {
  const std::size_t field_count = count < 0 ? 0 : static_cast<std::size_t>(count);
  Result result = start(field_count);
  for (std::size_t i = 0; i < field_count && ok(result); ++i) {
    const char* const name = fields[2 * i];
    const char* const type = fields[2 * i + 1];
    if (name == nullptr) return fail(block_, Result::out_of_range, kCreate.detail(6));
    Field field;
    result = name_field(name, field);
    if (ok(result)) result = parse_field_type(block_, type == nullptr ? "" : type, field);
    if (ok(result)) result = add(field);
  }
  return result;
}

Result NewTable::add_like(std::span<const Field> fields) {
  Result result = start(fields.size());
  for (const Field& field : fields) {
    if (!ok(result)) break;
    Field copy = field;
    result = name_field(field.name.data(), copy);
    if (ok(result)) result = add(copy);
  }
  return result;
}

Result create(VqBlock& block, const char* name, std::int32_t count, const char* const* fields) {
  NewTable table(block);
  const Result result = table.add_described(count, fields);
  return ok(result) ? table.replace(path_of(name, "DBF")) : result;
}

Result create_like(Table& from, platform::File& file, std::int32_t detail) {
  VqBlock& block = block_of(from);
  NewTable table(block);
  Result result = table.add_like(fields(from));
  if (ok(result)) result = table.write(file);
  if (!ok(result)) return result;
  std::array<Byte, kHeaderBytes> header;
  std::array<Byte, kRecordLengthOffset> made;
  if (!from.records.file.read_exactly(0, header.data(), header.size()).ok() ||
      !file.read_exactly(0, made.data(), made.size()).ok()) {
    return fail(block, Result::io, detail);
  }
  std::copy(made.begin() + kDateOffset, made.end(), header.begin() + kDateOffset);
  store_le16(&header[kRecordLengthOffset], static_cast<std::uint16_t>(record_length(from)));
  header[kProductionOffset] = 0;
  return file.write_at(0, header.data(), header.size()).ok() ? Result::ok
                                                             : fail(block, Result::io, detail);
}

}  // namespace vqdb::table
