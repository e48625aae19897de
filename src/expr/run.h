// One run of a program: the record it reads, the settings in force, and memory for the texts it
// makes. Handlers read their arguments through it and make their results with it.
#ifndef VQDBSYS_EXPR_RUN_H_
#define VQDBSYS_EXPR_RUN_H_

#include <cstdint>
#include <string_view>

#include "expr/text_arena.h"
#include "expr/value.h"
#include "frame/bytes.h"
#include "frame/result.h"
#include "table/table.h"

namespace vqdb::expr {

class Run {
 public:
  Run(VqBlock& block, const char* record, const table::Table* table_address, TextArena& texts)
      : block_(block), record_(record), table_(table_address), texts_(texts) {}

  VqBlock& block() const { return block_; }
  // The whole record, deletion flag first; null when the caller gave none.
  const char* record() const { return record_; }
  // The table that the program was parsed against; null when there was none or it is closed.
  table::Table* table() const;
  // Whether it was parsed against a table, closed or not.
  bool is_bound() const { return table_ != nullptr; }

  // A character value, or a memo field's ten characters. Valid until the run ends.
  std::string_view text(const Value& value) const {
    const auto length = static_cast<std::size_t>(value.length);
    if (value.form == Form::field) return {record_ + value.field.offset, length};
    return {value.form == Form::text ? value.text : value.inline_text, length};
  }
  // A numeric or float value.
  double number(const Value& value) const {
    if (value.form == Form::number) return value.number;
    if (value.form == Form::number_literal) return value.number_literal.number;
    return number_of_field(value);
  }
  // The same cut to an integer; what 32 bits cannot hold becomes the nearest they can. A field or
  // literal is read digit by digit: an exponent ends it, where number() would follow it.
  std::int32_t integer(const Value& value) const;
  // A date value's day number; the empty date is 0.
  double day(const Value& value) const {
    if (value.form == Form::number) return value.number;
    if (value.form == Form::date_literal) return value.date_literal.day;
    return day_of_field(value);
  }
  bool truth(const Value& value) const {
    if (value.form == Form::truth) return value.truth;
    const char flag = to_upper(record_[value.field.offset]);
    return flag == 'T' || flag == 'Y';
  }

  // Makes the result a text of this length and answers where its bytes go; null without memory.
  // Short texts lie in the result itself.
  char* make_text(Value& result, std::size_t length);
  // Makes the result a copy of the text. A text that is a piece of an argument needs none:
  // Value::set_text borrows it, for arguments live as long as the run.
  Result copy_text(Value& result, std::string_view text);

 private:
  double number_of_field(const Value& value) const;
  double day_of_field(const Value& value) const;

  VqBlock& block_;
  const char* record_;
  const table::Table* table_;
  TextArena& texts_;
};

// A day number that a computed date stands for: 0, the empty date, unless it lies in the years 1
// to 9999.
std::int32_t whole_day(double day);

// Cut towards zero and to what 32 bits hold.
std::int32_t whole_number(double number);
// As much of the text as makes a whole number, white space before it skipped.
std::int32_t whole_number(std::string_view text);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_RUN_H_
