#include "table/header.h"

#include <algorithm>

#include "frame/result.h"

namespace vqdb::table {
namespace {

// Further offsets in the header and in a descriptor.
constexpr std::size_t kEncryptedOffset = 15;
constexpr std::size_t kDecimalsOffset = 17;

constexpr std::int32_t kFirstYear = 1900;

// Other programs pad names with blanks and use either case.
void decode_name(const Byte* bytes, Field& field) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < kMaxFieldName && bytes[i] != 0; ++i) {
    field.name[i] = to_upper(static_cast<char>(bytes[i]));
    if (bytes[i] != ' ') length = i + 1;
  }
  std::fill(field.name.begin() + static_cast<std::ptrdiff_t>(length), field.name.end(), '\0');
}

}  // namespace

Header decode_header(std::span<const Byte, kHeaderBytes> bytes) {
  Header header;
  header.version = bytes[0];
  header.updated = {bytes[2], bytes[3], kFirstYear + bytes[1]};
  header.count = load_le32(&bytes[kCountOffset]);
  header.header_length = load_le16(&bytes[kHeaderLengthOffset]);
  header.record_length = load_le16(&bytes[kRecordLengthOffset]);
  header.encrypted = bytes[kEncryptedOffset] != 0;
  header.production = bytes[kProductionOffset] != 0;
  return header;
}

void encode_header(const Header& header, std::span<Byte, kHeaderBytes> bytes) {
  std::fill(bytes.begin(), bytes.end(), Byte{0});
  bytes[0] = header.version;
  encode_date_and_count(header.updated, header.count,
                        bytes.subspan<kDateOffset, kDateAndCountBytes>());
  store_le16(&bytes[kHeaderLengthOffset], static_cast<std::uint16_t>(header.header_length));
  store_le16(&bytes[kRecordLengthOffset], static_cast<std::uint16_t>(header.record_length));
}

void encode_date_and_count(const convert::Date& date, std::uint32_t count,
                           std::span<Byte, kDateAndCountBytes> bytes) {
  bytes[0] = static_cast<Byte>(date.year - kFirstYear);
  bytes[1] = static_cast<Byte>(date.month);
  bytes[2] = static_cast<Byte>(date.day);
  store_le32(&bytes[3], count);
}

bool is_accepted_version(Byte version, std::uint32_t kind) {
  if (version == version::kFoxproMemo) return (kind & dialect::kFoxpro) != 0;
  return (version & version::kTableBits) == version::kTableBits;
}

Field decode_field(std::span<const Byte, kDescriptorBytes> bytes) {
  Field field;
  decode_name(bytes.data(), field);
  field.type = static_cast<char>(bytes[kTypeOffset]);
  field.length = bytes[kLengthOffset];
  field.decimals = bytes[kDecimalsOffset];
  return field;
}

std::uint32_t decode_fields(std::span<const Byte> bytes, std::uint32_t record_length,
                            Field* fields) {
  std::uint32_t count = 0;
  std::uint32_t offset = 1;  // behind the deletion flag
  while (bytes.size() >= kDescriptorBytes && bytes[0] != kHeaderEnd) {
    Field field = decode_field(bytes.first<kDescriptorBytes>());
    field.offset = offset;
    offset += field.length;
    if (offset > record_length) return 0;
    fields[count++] = field;
    bytes = bytes.subspan(kDescriptorBytes);
  }
  return count;
}

void encode_field(const Field& field, std::span<Byte, kDescriptorBytes> bytes) {
  std::fill(bytes.begin(), bytes.end(), Byte{0});
  std::copy(field.name.begin(), field.name.end(), bytes.begin());
  bytes[kTypeOffset] = static_cast<Byte>(field.type);
  bytes[kLengthOffset] = field.length;
  bytes[kDecimalsOffset] = field.decimals;
}

}  // namespace vqdb::table
