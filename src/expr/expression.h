// Compiled expressions: parsed once against a table, run against a record buffer as often as
// wanted, delivering a value as text or number, or as the bytes of an index key.
#ifndef VQDBSYS_EXPR_EXPRESSION_H_
#define VQDBSYS_EXPR_EXPRESSION_H_

#include <cstdint>

#include "frame/handle_pool.h"
#include "frame/result.h"
#include "table/table.h"

namespace vqdb::expr {

class Expression;

HandlePool<Expression>& expressions();

// Against which names are bound: a table; none, but types are checked; or nothing at all.
struct Binding {
  table::Table* table = nullptr;
  bool check_types = true;
};

// What an expression delivers.
struct ResultShape {
  char type = 0;            // C N F D L M; 0 when types are not checked
  std::int32_t length = 0;  // bytes; records of the program when types are not checked
  std::uint8_t integer_digits = 0;
  std::uint8_t decimals = 0;
};

Result parse(VqBlock& block, const char* text, const Binding& binding, Expression*& out,
             ResultShape& shape);
void free(Expression& expression);

namespace run_option {
inline constexpr std::uint32_t kKey = VQ_RUN_KEY;
inline constexpr std::uint32_t kPackedKey = VQ_RUN_PACKED_KEY;
inline constexpr std::uint32_t kTagKey = 0x20;  // the same
inline constexpr std::uint32_t kOrderedKey = VQ_RUN_ORDERED_KEY;
inline constexpr std::uint32_t kOrderedKey2 = 0x200;  // the same
inline constexpr std::uint32_t kTextKey = VQ_RUN_TEXT_KEY;
}  // namespace run_option

// Whether the value depends on the record's deletion flag.
bool reads_deletion_flag(const Expression& expression);

// The bytes of a key that a run with these options makes; 0 where only the run tells. A text whose
// length is open counts as 254.
std::int32_t key_length(const ResultShape& shape, std::uint32_t options);

// Runs against a whole record, deletion flag included (null where no field is read). Writes the
// value and its length: a text of at most max bytes (below 1: 1000) with a zero byte behind it, or
// a number of 8 bytes. A key never passes max, but for those of numbers and dates: 8 bytes, or 12
// packed.
Result run(VqBlock& block, Expression& expression, const void* record, std::uint32_t options,
           std::int32_t max, void* buffer, std::int32_t& length);

// Writes the numbers of the table's records for which the value is true, from the first on, and how
// many. Stops at the first record that cannot be read or whose run fails. Details 6063 (no
// logical value, or fields of another table), 6064 (no memory), and those of run and of reading.
Result filter(Expression& expression, table::Table& table, std::uint32_t first, std::uint32_t count,
              std::uint32_t* recnos, std::uint32_t& got);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_EXPRESSION_H_
