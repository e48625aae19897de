#include "expr/function.h"

#include <algorithm>

namespace vqdb::expr {

const Function* find_function(Token token) {
  for (const auto family : {text_functions(), value_functions(), numeric_functions(),
                            date_functions(), record_functions()}) {
    const auto row = std::ranges::find(family, token, &Function::token);
    if (row != family.end()) return &*row;
  }
  return nullptr;
}

namespace rule {

Result number(const VqBlock&, Arguments, Value& result) {
  result.shape_number();
  return Result::ok;
}

Result date(const VqBlock&, Arguments, Value& result) {
  result.shape_date();
  return Result::ok;
}

Result logical(const VqBlock&, Arguments, Value& result) {
  result.shape_logical();
  return Result::ok;
}

Result text_like_first(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_text(arguments[0].length);
  return Result::ok;
}

}  // namespace rule

}  // namespace vqdb::expr
