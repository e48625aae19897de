#include "check/table_form.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string_view>

#include "platform/memory.h"
#include "table/create.h"
#include "table/field_type.h"
#include "table/record_file.h"
#include "table/records.h"

namespace vqdb::check {
namespace {

using table::Field;
using table::Header;
using table::kDescriptorBytes;
using table::kHeaderBytes;

constexpr std::size_t kMostHeaderBytes = 65536;
constexpr std::size_t kFlagsAtOnce = 65536;
constexpr std::uint64_t kMostRecords = std::numeric_limits<std::uint32_t>::max();

// Version bytes of tables that are laid out in another way, or mean other types.
constexpr std::array<Byte, 10> kOtherSystems = {0x02, 0x04, 0x05, 0x30, 0x31,
                                                0x32, 0x8C, 0x8E, 0xE5, 0xF5};

bool is_of_another_system(Byte version) {
  return std::find(kOtherSystems.begin(), kOtherSystems.end(), version) != kOtherSystems.end();
}

// The first bytes of a file, as many as a header can have.
struct Head {
  std::vector<Byte> bytes;

  bool has_descriptor(std::size_t at) const { return at + kDescriptorBytes <= bytes.size(); }
};

Result read_head(HeldFile& file, Head& head) {
  head.bytes.resize(
      static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), kMostHeaderBytes)));
  return file.read(0, head.bytes.data(), head.bytes.size());
}

// Where the field list ends by its end byte; 0 when nothing ends it.
std::size_t find_fields_end(const Head& head) {
  for (std::size_t at = kHeaderBytes; at < head.bytes.size(); at += kDescriptorBytes) {
    if (head.bytes[at] == table::kHeaderEnd) return at;
  }
  return 0;
}

std::vector<Field> fields_before(const Head& head, std::size_t end) {
  std::vector<Field> fields;
  std::uint32_t offset = 1;
  for (std::size_t at = kHeaderBytes; at + kDescriptorBytes <= end && head.has_descriptor(at) &&
                                      head.bytes[at] != table::kHeaderEnd;
       at += kDescriptorBytes) {
    fields.push_back(table::decode_field(
        std::span<const Byte, kDescriptorBytes>(&head.bytes[at], kDescriptorBytes)));
    fields.back().offset = offset;
    offset += fields.back().length;
  }
  return fields;
}

std::uint32_t bytes_of(const std::vector<Field>& fields) {
  return fields.empty() ? 1 : fields.back().offset + fields.back().length;
}

bool is_flag(Byte flag) { return flag == table::kLive || flag == table::kDeleted; }

// Header and record length that may be meant.
struct Lengths {
  std::uint32_t header = 0;
  std::uint32_t record = 0;
  std::vector<Field> fields;
  bool fit = false;      // the file
  bool possible = true;  // at all
  bool listed = false;   // are those of the field list
};

bool can_be(const Lengths& lengths, std::uint64_t file_size) {
  return lengths.header >= table::kMinHeaderLength && lengths.header <= file_size &&
         lengths.header < kMostHeaderBytes && !lengths.fields.empty() &&
         lengths.record >= bytes_of(lengths.fields);
}

// Whether the file's records end just where these lengths and the count say.
Result fits(HeldFile& file, const Lengths& lengths, std::uint32_t count, bool& yes) {
  yes = false;
  if (!can_be(lengths, file.size())) return Result::ok;
  const std::uint64_t end = lengths.header + std::uint64_t{count} * lengths.record;
  if (end > file.size()) return Result::ok;
  std::array<std::uint64_t, 3> places = {lengths.header, end - lengths.record, end};
  yes = true;
  for (const std::uint64_t place : places) {
    const bool is_end = place == end;
    if ((is_end && end == file.size()) || (!is_end && count == 0)) continue;
    Byte byte = 0;
    if (const Result result = file.read(place, &byte, 1); !ok(result)) return result;
    yes = yes && (is_end ? byte == table::kEndMark : is_flag(byte));
  }
  return Result::ok;
}

// Which lengths are meant: those of the header, unless others fit the file and they do not. Where
// none fit, the header's stand, and may be impossible.
Result find_lengths(HeldFile& file, const Head& head, const Header& header, Lengths& found) {
  const auto own_end = static_cast<std::uint32_t>(find_fields_end(head));
  const std::vector<Field> own = fields_before(head, header.header_length);
  const std::vector<Field> listed = fields_before(head, own_end);
  const std::array<Lengths, 4> candidates = {{
      {header.header_length, header.record_length, own, false},
      {own_end + 1, header.record_length, listed, false},
      {header.header_length, bytes_of(own), own, false},
      {own_end + 1, bytes_of(listed), listed, false},
  }};
  for (const Lengths& lengths : candidates) {
    bool yes = false;
    if (const Result result = fits(file, lengths, header.count, yes); !ok(result)) return result;
    if (yes) {
      found = lengths;
      found.fit = true;
      return Result::ok;
    }
  }
  found = candidates.front();
  found.possible = can_be(found, file.size());
  found.listed = found.header == own_end + 1 && found.record == bytes_of(listed);
  return Result::ok;
}

void check_lengths(const Lengths& lengths, const Head& head, FileFindings& findings,
                   TableForm& form) {
  const Header& header = form.header;
  form.fields = lengths.fields;
  if (!lengths.possible) {
    if (lengths.fields.empty()) {
      findings.add(VQ_F_TABLE_SHORT, {.offset = kHeaderBytes}, "The table has no fields.");
    } else if (bytes_of(lengths.fields) > lengths.record) {
      findings.add(VQ_F_RECORD_LENGTH, {.offset = table::kRecordLengthOffset},
                   "The fields do not fit a record.");
    } else {
      findings.add(VQ_F_HEADER_LENGTH, {.offset = table::kHeaderLengthOffset},
                   "The file is shorter than its header says that the header is.");
    }
    return;
  }
  form.is_table = true;
  form.has_sure_lengths = lengths.fit || lengths.listed;
  form.fields_end = kHeaderBytes + lengths.fields.size() * kDescriptorBytes;
  form.header_length = lengths.header;
  form.record_length = lengths.record;
  if (lengths.header != header.header_length) {
    findings.add(VQ_F_HEADER_LENGTH, {.offset = table::kHeaderLengthOffset},
                 numbered("The header length has to be ", lengths.header,
                          numbered(" and is ", header.header_length, ".")));
  }
  if (lengths.record != header.record_length) {
    findings.add(VQ_F_RECORD_LENGTH, {.offset = table::kRecordLengthOffset},
                 numbered("The record length has to be ", lengths.record,
                          numbered(" and is ", header.record_length, ".")));
  } else if (lengths.record > bytes_of(lengths.fields)) {
    findings.add(VQ_F_RECORD_SLACK, {.offset = table::kRecordLengthOffset},
                 numbered("Records have ", lengths.record - bytes_of(lengths.fields),
                          " bytes that belong to no field."));
  }
  const auto end = static_cast<std::size_t>(form.fields_end);
  if (end == head.bytes.size() || head.bytes[end] != table::kHeaderEnd) {
    form.ends_fields = false;
    findings.add(VQ_F_FIELDS_END, {.offset = form.fields_end}, "Nothing ends the field list.");
  }
}

void check_field(const TableForm& form, std::size_t index, FileFindings& findings) {
  const Field& field = form.fields[index];
  const char* const name = field.name.data();
  const std::uint64_t offset = kHeaderBytes + index * kDescriptorBytes;
  const auto before = form.fields.begin() + static_cast<std::ptrdiff_t>(index);
  if (*name == '\0') {
    findings.add(VQ_F_FIELD_NAME, {.offset = offset, .name = name}, "A field has no name.");
  } else if (std::any_of(form.fields.begin(), before,
                         [&](const Field& other) { return other.name == field.name; })) {
    findings.add(VQ_F_FIELD_NAME, {.offset = offset, .name = name},
                 "Another field has the same name.");
  } else if (!table::is_field_name(name)) {
    findings.add(VQ_F_FIELD_LETTERS, {.offset = offset, .name = name},
                 "Expressions cannot use this field name.");
  }
  if (!table::is_field_type(field.type)) {
    findings.add(VQ_F_FIELD_TYPE, {.offset = offset + table::kTypeOffset, .name = name},
                 "There is no such field type.");
  } else if (!table::is_field_shape(field)) {
    findings.add(VQ_F_FIELD_LENGTH, {.offset = offset + table::kLengthOffset, .name = name},
                 "A field of this type does not have this length or these decimals.");
  }
}

void check_update_date(const Header& header, FileFindings& findings) {
  if (convert::is_valid(header.updated)) return;
  findings.add(VQ_F_UPDATE_DATE, {.offset = table::kDateOffset},
               "The date of the last update is no date.");
}

// Records by their flags, from one on up to an end mark or the last whole one.
struct Flags {
  std::uint32_t in_row = 0;  // up to the first flag that is none
  std::uint32_t last = 0;    // up to the last flag that is one
  bool at_end = false;       // an end mark follows, or the file ends
};

// The first `count` records are not looked at, but counted.
Result read_flags(HeldFile& file, const TableForm& form, std::uint32_t count, Flags& flags) {
  const std::uint64_t room = file.size() - form.header_length;
  const std::uint64_t whole = std::min(room / form.record_length, kMostRecords);
  const std::size_t at_once =
      std::max<std::size_t>(1, kFlagsAtOnce / form.record_length) * form.record_length;
  std::vector<Byte> bytes(at_once);
  flags = {count, count, room % form.record_length == 0};
  for (std::uint64_t at = count; at < whole;) {
    const std::uint64_t left = (whole - at) * form.record_length;
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, at_once));
    const Result result = file.read(form.offset_of(at + 1), bytes.data(), size);
    if (!ok(result)) return result;
    for (std::size_t i = 0; i < size; i += form.record_length, ++at) {
      flags.at_end = flags.at_end || bytes[i] == table::kEndMark;
      if (bytes[i] == table::kEndMark) return Result::ok;
      if (!is_flag(bytes[i])) continue;
      if (flags.in_row == at) ++flags.in_row;
      flags.last = static_cast<std::uint32_t>(at) + 1;
    }
  }
  // The mark may be the byte behind the last whole record.
  const std::uint64_t end = form.offset_of(whole + 1);
  if (end >= file.size()) return Result::ok;
  Byte mark = 0;
  const Result result = file.read(end, &mark, 1);
  flags.at_end = mark == table::kEndMark;
  return result;
}

// What follows the last record.
Result check_end(HeldFile& file, FileFindings& findings, TableForm& form) {
  const std::uint64_t end = form.offset_of(std::uint64_t{form.count} + 1);
  if (end >= file.size()) {
    if (form.count > 0) {
      findings.add(VQ_F_END_MARK_MISSING, {.offset = end}, "No end mark follows the last record.");
    }
    return Result::ok;
  }
  Byte mark = 0;
  if (const Result result = file.read(end, &mark, 1); !ok(result)) return result;
  form.end = mark == table::kEndMark ? RecordsEnd::mark : RecordsEnd::other;
  if (mark != table::kEndMark) {
    findings.add(VQ_F_END_MARK, {.offset = end},
                 "Another byte stands where the end mark of the records belongs.");
  } else if (end + 1 < file.size()) {
    findings.add(VQ_F_TAIL, {.offset = end + 1},
                 numbered("", file.size() - end - 1, " bytes follow the end mark."));
  }
  return Result::ok;
}

// The header's count, unless the records bear witness against it. One that is too high must not
// bring back what was removed from the end, so that records end at the end mark. A damaged flag is
// no end: records lie behind it when the header counts them, or when the file ends as a table does.
Result check_count(HeldFile& file, FileFindings& findings, TableForm& form) {
  const std::uint64_t whole = (file.size() - form.header_length) / form.record_length;
  const std::uint32_t counted = form.header.count;
  const bool is_high = counted > whole;
  Flags flags;
  if (const Result result = read_flags(file, form, is_high ? 0 : counted, flags); !ok(result)) {
    return result;
  }
  form.count = is_high || flags.at_end ? flags.last : flags.in_row;
  if (is_high) {
    findings.add(VQ_F_COUNT_HIGH, {.offset = table::kCountOffset},
                 numbered("The header counts ", counted,
                          numbered(" records, the file holds ", form.count, " whole ones.")));
  } else if (form.count > counted) {
    findings.add(VQ_F_COUNT_LOW, {.offset = table::kCountOffset},
                 numbered("The header counts ", counted,
                          numbered(" records, the file holds ", form.count, ".")));
  }
  return check_end(file, findings, form);
}

}  // namespace

bool TableForm::has_memo_fields() const {
  return std::any_of(fields.begin(), fields.end(),
                     [](const Field& field) { return table::is_memo_type(field.type); });
}

Result read_table_form(HeldFile& file, FileFindings& findings, TableForm& form) {
  Head head;
  if (const Result result = read_head(file, head); !ok(result)) return result;
  if (head.bytes.size() < kHeaderBytes) {
    findings.add(VQ_F_TABLE_SHORT, {}, "The file is shorter than a table's header.");
    return Result::ok;
  }
  form.header =
      table::decode_header(std::span<const Byte, kHeaderBytes>(head.bytes.data(), kHeaderBytes));
  const Byte version = form.header.version;
  const bool accepted = table::is_accepted_version(version, file.block().kind);
  if (accepted) {
    form.version = version;
  } else {
    findings.add(VQ_F_TABLE_VERSION, {},
                 numbered("Tables of version ", version, " are not read in this dialect."));
    if (is_of_another_system(version)) return Result::ok;
  }
  Lengths lengths;
  if (const Result result = find_lengths(file, head, form.header, lengths); !ok(result)) {
    return result;
  }
  if (!accepted && !lengths.fit) return Result::ok;
  check_update_date(form.header, findings);
  check_lengths(lengths, head, findings, form);
  for (std::size_t i = 0; i < form.fields.size(); ++i) check_field(form, i, findings);
  if (form.header.encrypted) {
    findings.add(VQ_F_TABLE_ENCRYPTED, {}, "The table is encrypted.");
  }
  form.has_records = form.is_table && !form.header.encrypted;
  return form.is_table ? check_count(file, findings, form) : Result::ok;
}

}  // namespace vqdb::check
