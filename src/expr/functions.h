// The rules and handlers that the table of functions is made of, by family.
#ifndef VQDBSYS_EXPR_FUNCTIONS_H_
#define VQDBSYS_EXPR_FUNCTIONS_H_

#include "expr/function.h"
#include "expr/padding.h"
#include "frame/bytes.h"

namespace vqdb::expr {

using RuleFunction = Result(const VqBlock& block, Arguments arguments, Value& result);
using HandlerFunction = Result(Run& run, Arguments arguments, Value& result);

// Texts that functions make out of texts.
namespace text {
RuleFunction end_piece_rule, substr_rule, stuff_rule, replicate_rule, space_rule, pad_rule;
HandlerFunction proper, left, right, substr, stuff, ltrim, rtrim, alltrim, replicate, space,
    chrtran;
template <char (*change)(char)>
Result change_letters(Run& run, Arguments arguments, Value& result);
template <Side side>
Result pad_to(Run& run, Arguments arguments, Value& result);
}  // namespace text

// What is told of a value, chosen among values, or turned from number to text and back.
namespace values {
RuleFunction val_rule, str_rule, iif_rule;
HandlerFunction asc, at, chr, difference_of, soundex_of, empty, iif, len, str, val;
bool is_lower(char c);
bool is_upper(char c);
template <bool (*test)(char)>
Result first_is(Run& run, Arguments arguments, Value& result);
}  // namespace values

namespace numbers {
RuleFunction like_first, whole, round_rule, extreme_rule;
HandlerFunction pi, round, max, min, future_value, present_value, payment, rand;
}  // namespace numbers

namespace dates {
RuleFunction date_text_rule, long_date_rule, time_rule;
HandlerFunction cdow, cmonth, ctod, date, day, dmy, dow, dtoc, dtos, mdy, month, time, year;
}  // namespace dates

// What the table and the record tell that the expression runs against.
namespace records {
HandlerFunction deleted, field, file, reccount, recno, recsize;
}  // namespace records

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_FUNCTIONS_H_
