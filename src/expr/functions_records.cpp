// Functions that ask the table and the record that the expression runs against. Without a table
// they answer as an empty work area does: 0, false or nothing.
#include <string>

#include "expr/functions.h"
#include "platform/file.h"
#include "platform/path.h"
#include "table/records.h"

namespace vqdb::expr::records {

namespace {

// The table when there is one; bad_handle when it was closed after the expression was parsed.
Result find_table(const Run& run, table::Table*& table) {
  table = run.table();
  return table == nullptr && run.is_bound() ? Result::bad_handle : Result::ok;
}

}  // namespace

Result deleted(Run& run, Arguments, Value& result) {
  table::Table* table = nullptr;
  const Result found = find_table(run, table);
  if (!ok(found)) return found;
  if (table != nullptr && run.record() == nullptr) return Result::out_of_range;
  result.set_truth(run.record() != nullptr && *run.record() == table::kDeleted);
  return Result::ok;
}

Result field(Run& run, Arguments arguments, Value& result) {
  table::Table* table = nullptr;
  const Result found = find_table(run, table);
  if (!ok(found)) return found;
  const std::int32_t number = run.integer(arguments[0]);
  const auto fields = table != nullptr ? table::fields(*table) : std::span<const table::Field>();
  const bool known = number >= 1 && static_cast<std::size_t>(number) <= fields.size();
  return run.copy_text(result,
                       known ? fields[static_cast<std::size_t>(number - 1)].name.data() : "");
}

// The name is taken as it stands, extension included; blanks around it are none of it.
Result file(Run& run, Arguments arguments, Value& result) {
  std::string_view name = run.text(arguments[0]);
  while (name.ends_with(' ')) name.remove_suffix(1);
  while (name.starts_with(' ')) name.remove_prefix(1);
  const std::string path(name.substr(0, name.find('\0')));
  result.set_truth(!path.empty() && platform::exists(platform::resolve(path)));
  return Result::ok;
}

Result reccount(Run& run, Arguments, Value& result) {
  table::Table* table = nullptr;
  const Result found = find_table(run, table);
  if (!ok(found)) return found;
  std::uint32_t count = 0;
  const Result counted = table != nullptr ? table::record_count(*table, count) : Result::ok;
  if (!ok(counted)) return counted;
  result.set_number(count);
  return Result::ok;
}

Result recno(Run& run, Arguments, Value& result) {
  table::Table* table = nullptr;
  const Result found = find_table(run, table);
  if (!ok(found)) return found;
  result.set_number(table != nullptr ? table::current_record(*table) : 0);
  return Result::ok;
}

Result recsize(Run& run, Arguments, Value& result) {
  table::Table* table = nullptr;
  const Result found = find_table(run, table);
  if (!ok(found)) return found;
  result.set_number(table != nullptr ? table::record_length(*table) : 0);
  return Result::ok;
}

}  // namespace vqdb::expr::records
