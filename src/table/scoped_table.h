// A table that an operation opens for its own work.
#ifndef VQDBSYS_TABLE_SCOPED_TABLE_H_
#define VQDBSYS_TABLE_SCOPED_TABLE_H_

#include <string>
#include <utility>

#include "table/table.h"

namespace vqdb::table {

// Closes the table when it goes out of scope; the detail code of an earlier failure stays then.
class ScopedTable {
 public:
  ScopedTable() = default;
  ~ScopedTable() {
    if (table_ == nullptr) return;
    VqBlock& block = block_of(*table_);
    const std::int32_t detail = block.detail;
    (void)close();
    block.detail = detail;
  }
  ScopedTable(const ScopedTable&) = delete;
  ScopedTable& operator=(const ScopedTable&) = delete;

  Result open(VqBlock& block, const std::string& path, std::uint32_t mode, std::int32_t buffers) {
    table_ = table::open_path(block, path, mode, buffers);
    return table_ != nullptr ? Result::ok : static_cast<Result>(block.result);
  }
  Result close() { return table::close(*std::exchange(table_, nullptr)); }

  Table& operator*() const { return *table_; }

 private:
  Table* table_ = nullptr;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_SCOPED_TABLE_H_
