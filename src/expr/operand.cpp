#include "expr/operand.h"

#include <algorithm>

#include "convert/dates.h"
#include "convert/numbers.h"
#include "expr/run.h"

namespace vqdb::expr {

namespace {

Type type_of(const table::Field& field) {
  switch (field.type) {
    case 'C':
      return Type::character;
    case 'N':
    case 'F':
      return Type::numeric;
    case 'D':
      return field.length >= convert::kDateFieldWidth ? Type::date : Type::none;
    case 'L':
      return field.length >= 1 ? Type::logical : Type::none;
    case 'M':
      return Type::memo;
    default:
      return Type::none;
  }
}

}  // namespace

Value short_text(std::string_view text) {
  Value value;
  value.shape_text(static_cast<std::int32_t>(text.size()));
  value.form = Form::inline_text;
  std::ranges::copy(text, value.inline_text);
  return value;
}

Value long_text(std::string_view text) {
  Value value;
  value.shape_text(0);
  value.set_text(text);
  return value;
}

Value date_literal(std::string_view text) {
  Value value;
  value.shape(Type::date, static_cast<std::int32_t>(text.size()));
  value.form = Form::date_literal;
  value.date_literal = {0, text.data()};
  return value;
}

Value number_literal(std::string_view text, bool negated) {
  const double number = convert::parse_number(text);
  const std::int32_t integer = whole_number(text);
  const std::size_t point = std::min(text.find('.'), text.size());
  Value value;
  value.shape(Type::numeric, static_cast<std::int32_t>(text.size()), static_cast<unsigned>(point),
              static_cast<unsigned>(text.size() - std::min(point + 1, text.size())));
  value.form = Form::number_literal;
  value.number_literal = {negated ? -number : number, negated ? -integer : integer};
  return value;
}

Value logical_constant(bool truth) {
  Value value;
  value.shape_logical();
  value.set_truth(truth);
  return value;
}

Value field_operand(const table::Field& field, bool negated) {
  const unsigned decimals = std::min(field.decimals, field.length);
  Value value;
  value.shape(type_of(field), field.length, field.length - decimals, decimals);
  value.form = Form::field;
  value.field = {field.offset, negated && value.type == Type::numeric};
  return value;
}

}  // namespace vqdb::expr
