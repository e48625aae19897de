// What a handle of a compiled expression holds: the program, its literals, and the memory and
// settings of its runs.
#ifndef VQDBSYS_EXPR_COMPILED_H_
#define VQDBSYS_EXPR_COMPILED_H_

#include <cstdint>
#include <optional>
#include <utility>

#include "expr/expression.h"
#include "expr/program.h"
#include "expr/text_arena.h"

namespace vqdb::expr {

class Compiled {
 public:
  Compiled(const table::Table* bound, platform::Array<char>&& literals)
      : table_(bound), literals_(std::move(literals)) {}

  // Compiles the words; details 6003 to 6006, and with a type check the refusal's own.
  Result compile(VqBlock& block, const Postfix& order, bool check_types, ResultShape& shape);

  bool reads_deletion_flag() const;
  // Whether it gives logical values and reads no field behind records of this length.
  bool is_filter_of(std::uint32_t record_length) const;

  Result run(VqBlock& block, const char* record, std::uint32_t options, std::int32_t max,
             char* buffer, std::int32_t& length);

 private:
  // Anew only when the date format has changed since the last run.
  void read_date_literals(const VqBlock& block);

  // Only an address: the table may be closed before the expression is freed.
  const table::Table* table_;
  Program program_;
  platform::Array<char> literals_;
  // What the check of types would have said, when none was asked for.
  Refusal refusal_;
  // Most bytes that a text result can have; 0 when types were not checked.
  std::int32_t longest_ = 0;
  TextArena texts_;
  // The date format that the date literals were last read in.
  std::optional<std::uint32_t> literals_read_in_;
};

class Expression : public HandleHead {
 public:
  Expression(const table::Table* bound, platform::Array<char>&& literals)
      : compiled(bound, std::move(literals)) {}

  Compiled compiled;
};

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_COMPILED_H_
