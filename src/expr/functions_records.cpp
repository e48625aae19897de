#include "expr/function.h"

namespace vqdb::expr {

namespace {

Result recno(Run& run, Arguments, Value& result) {
  const table::Table* table = run.table();
  if (table == nullptr) return Result::bad_handle;
  result.set_number(table::current_record(*table));
  return Result::ok;
}

constexpr Function kFunctions[] = {
    {Token::recno, 0, 0, {}, rule::number, recno},
};

}  // namespace

std::span<const Function> record_functions() { return kFunctions; }

}  // namespace vqdb::expr
