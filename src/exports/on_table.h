// Calls of the dD family on the table behind a handle.
#ifndef VQDBSYS_EXPORTS_ON_TABLE_H_
#define VQDBSYS_EXPORTS_ON_TABLE_H_

#include "exports/guard.h"
#include "frame/wait.h"
#include "table/table.h"

namespace vqdb::exports {

template <typename Body>
std::int32_t on_table(const void* table, const Operation& operation, Body body) {
  return with_handle(table::tables(), table, operation.bad_handle(), body);
}

// The same for what locks, or changes one record.
template <typename Body>
std::int32_t on_table_patiently(const void* table, const Operation& operation, Body body) {
  return on_table(table, operation, [&](table::Table& open) {
    return patiently(table::block_of(open), [&] { return body(open); });
  });
}

}  // namespace vqdb::exports

#endif  // VQDBSYS_EXPORTS_ON_TABLE_H_
