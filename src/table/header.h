// The header of a table file and its field descriptors, between bytes and values. Decoding is
// total: any bytes give an answer, and what a table cannot be opened with is told apart.
#ifndef VQDBSYS_TABLE_HEADER_H_
#define VQDBSYS_TABLE_HEADER_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "convert/calendar.h"
#include "frame/bytes.h"
#include "table/field.h"

namespace vqdb::table {

inline constexpr std::uint32_t kHeaderBytes = 32;
inline constexpr std::uint32_t kDescriptorBytes = 32;
inline constexpr std::uint32_t kMinHeaderLength = 65;
inline constexpr Byte kHeaderEnd = 0x0D;

// Offsets in the header.
inline constexpr std::size_t kDateOffset = 1;  // year - 1900, month, day, then the record count
inline constexpr std::size_t kCountOffset = 4;
inline constexpr std::size_t kDateAndCountBytes = 7;
inline constexpr std::size_t kHeaderLengthOffset = 8;
inline constexpr std::size_t kRecordLengthOffset = 10;
inline constexpr std::size_t kProductionOffset = 28;

// Offsets in a descriptor, which begins with the name.
inline constexpr std::size_t kTypeOffset = 11;
inline constexpr std::size_t kLengthOffset = 16;

namespace version {
inline constexpr Byte kPlain = 0x03;
inline constexpr Byte kDbase3Memo = 0x83;
inline constexpr Byte kDbase4Memo = 0x8B;
inline constexpr Byte kFoxproMemo = 0xF5;
inline constexpr Byte kTableBits = 0x03;  // both are set in every dBASE version byte
}  // namespace version

struct Header {
  Byte version = version::kPlain;
  convert::Date updated;
  std::uint32_t count = 0;
  std::uint32_t header_length = 0;
  std::uint32_t record_length = 0;
  bool encrypted = false;
  bool production = false;  // a production MDX file belongs to the table

  // Descriptors that the header length leaves room for.
  std::uint32_t field_room() const { return (header_length - kHeaderBytes) / kDescriptorBytes; }
};

Header decode_header(std::span<const Byte, kHeaderBytes> bytes);
void encode_header(const Header& header, std::span<Byte, kHeaderBytes> bytes);
// The 7 bytes from kDateOffset on.
void encode_date_and_count(const convert::Date& date, std::uint32_t count,
                           std::span<Byte, kDateAndCountBytes> bytes);

// Whether tables of this version byte can be opened under this dialect kind.
bool is_accepted_version(Byte version, std::uint32_t kind);

// The field of a descriptor, whatever it says; its offset in the record is 0.
Field decode_field(std::span<const Byte, kDescriptorBytes> bytes);
// Decodes descriptors up to the end of the bytes or the end byte before it, and lays the fields
// out in the record. Returns their number; 0 when there are none or they do not fit the record.
// REQUIRES room in `fields` for every descriptor in the bytes.
std::uint32_t decode_fields(std::span<const Byte> bytes, std::uint32_t record_length,
                            Field* fields);
void encode_field(const Field& field, std::span<Byte, kDescriptorBytes> bytes);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_HEADER_H_
