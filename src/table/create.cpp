#include "table/create.h"

#include <algorithm>

#include "convert/calendar.h"
#include "frame/file_name.h"
#include "frame/system_file.h"
#include "table/field_type.h"
#include "table/header.h"

namespace vqdb::table {
namespace {

constexpr Operation kCreate{15};  // its details run on to 164

constexpr std::size_t kWorkBytes = 8232;
constexpr std::size_t kWriteOutBytes = 8200;  // the work area is written when it holds as much

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

// Whether an expression could refer to a field by this name.
bool is_field_name(std::string_view name) {
  if (name.empty() || is_digit(name.front())) return false;
  return std::all_of(name.begin(), name.end(),
                     [](char c) { return is_letter(c) || is_digit(c) || c == '_'; });
}

}  // namespace

bool is_memo_type(char type) { return type == 'M' || type == 'B' || type == 'G' || type == 'P'; }

NewTable::~NewTable() {
  if (!file_.is_open() || complete_) return;
  (void)file_.close();
  (void)platform::remove(path_);
}

Result NewTable::start(const std::string& path, std::size_t field_count) {
  if (field_count < 1 || field_count > limits_of(block_.kind).fields) {
    return fail(block_, Result::out_of_range, kCreate.detail(1));
  }
  work_ = platform::allocate_bytes(kWorkBytes);
  if (work_ == nullptr) return fail(block_, Result::no_memory, kCreate.detail(2));
  names_.reserve(field_count);
  path_ = path;
  const platform::Outcome outcome = file_.create(path_, platform::Creation::truncate);
  if (!outcome.ok()) return fail(block_, open_result(outcome.error), kCreate.detail(3));
  header_length_ = kHeaderBytes;
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
  encode_field(field, std::span<Byte, kDescriptorBytes>(&work_[pending_bytes_], kDescriptorBytes));
  pending_bytes_ += kDescriptorBytes;
  return pending_bytes_ >= kWriteOutBytes ? write_descriptors(kCreate.detail(5)) : Result::ok;
}

Result NewTable::write_descriptors(std::int32_t detail) {
  const platform::Outcome outcome = file_.write_at(header_length_, work_.get(), pending_bytes_);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), detail);
  header_length_ += static_cast<std::uint32_t>(pending_bytes_);
  pending_bytes_ = 0;
  return Result::ok;
}

Byte NewTable::version() const {
  if (!has_memo_) return version::kPlain;
  if ((block_.kind & dialect::kDbase4) != 0) return version::kDbase4Memo;
  return (block_.kind & dialect::kFoxpro) != 0 ? version::kFoxproMemo : version::kDbase3Memo;
}

Result NewTable::finish() {
  work_[pending_bytes_++] = kHeaderEnd;
  if (const Result result = write_descriptors(kCreate.detail(13)); !ok(result)) return result;
  Header header;
  header.version = version();
  header.updated = convert::today();
  header.header_length = header_length_;
  header.record_length = field_bytes_ + 1;
  std::array<Byte, kHeaderBytes> bytes;
  encode_header(header, bytes);
  const platform::Outcome outcome = file_.write_at(0, bytes.data(), bytes.size());
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kCreate.detail(14));
  if (!file_.close().ok()) {
    (void)platform::remove(path_);
    return fail(block_, Result::io, kCreate.detail(14));
  }
  complete_ = true;
  return Result::ok;
}

Result create(VqBlock& block, const char* name, std::int32_t count, const char* const* fields) {
  NewTable table(block);
  const std::size_t field_count = count < 0 ? 0 : static_cast<std::size_t>(count);
  Result result = table.start(path_of(name, "DBF"), field_count);
  for (std::size_t i = 0; i < field_count && ok(result); ++i) {
    const char* const field_name = fields[2 * i];
    const char* const type = fields[2 * i + 1];
    if (field_name == nullptr) return fail(block, Result::out_of_range, kCreate.detail(6));
    Field field;
    result = table.name_field(field_name, field);
    if (ok(result)) result = parse_field_type(block, type == nullptr ? "" : type, field);
    if (ok(result)) result = table.add(field);
  }
  return ok(result) ? table.finish() : result;
}

Result create(VqBlock& block, const std::string& path, std::span<const Field> fields,
              bool& has_memo) {
  NewTable table(block);
  Result result = table.start(path, fields.size());
  for (const Field& field : fields) {
    if (!ok(result)) break;
    Field copy = field;
    result = table.name_field(field.name.data(), copy);
    if (ok(result)) result = table.add(copy);
  }
  has_memo = table.has_memo();
  return ok(result) ? table.finish() : result;
}

}  // namespace vqdb::table
