// A field of a table as its descriptor gives it.
#ifndef VQDBSYS_TABLE_FIELD_H_
#define VQDBSYS_TABLE_FIELD_H_

#include <array>
#include <cstdint>

namespace vqdb::table {

inline constexpr std::size_t kMaxFieldName = 10;

struct Field {
  std::array<char, kMaxFieldName + 1> name = {};  // upper case, zero-filled
  char type = 0;                                  // as in the descriptor: C D F L M N B G P
  std::uint8_t length = 0;
  std::uint8_t decimals = 0;
  std::uint32_t offset = 0;  // in the record, the deletion flag byte included
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_FIELD_H_
