// Which records and fields of a table a command works on, and in which order.
#ifndef VQDB_SELECTION_H_
#define VQDB_SELECTION_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "command_line.h"
#include "expression.h"
#include "order.h"
#include "progress.h"
#include "row_format.h"
#include "table.h"
#include "warnings.h"

namespace tool {

struct Selection {
  std::vector<std::string> fields;  // all when empty
  std::string filter;
  std::string order;
  std::string from;
  bool reverse = false;
  bool deleted = false;
  std::uint64_t limit = 0;  // 0: none
};

void add_text_options(CommandLine& command, TextOptions& texts);
void add_filter_option(CommandLine& command, std::string& filter);
void add_selection_options(CommandLine& command, Selection& selection);

inline Reads reads_of(const Selection& selection) {
  return selection.order.empty() ? Reads::in_turn : Reads::by_number;
}

// The numbers (from 0) of the fields that are asked for.
std::vector<std::size_t> field_numbers(const Table& table, const std::vector<std::string>& names);

// What the forms of rows have to know of these fields.
RowShape shape_of(const Table& table, const std::vector<std::size_t>& fields, bool deleted);

// Goes through the records that a selection asks for.
class Walk {
 public:
  Walk(const Table& table, const Selection& selection, Warnings& warnings, Progress& progress);

  // The next record; false behind the last.
  bool next();
  std::uint32_t recno() const { return recno_; }
  const char* record() const { return record_.data(); }
  bool is_deleted() const { return record_[0] == '*'; }

 private:
  bool next_number();
  bool is_wanted();

  const Table& table_;
  const Selection& selection_;
  Warnings& warnings_;
  Progress& progress_;
  std::unique_ptr<Expression> filter_;
  std::unique_ptr<Order> order_;
  std::string record_;
  std::uint32_t recno_ = 0;  // in table order: the one before the first
  std::uint64_t delivered_ = 0;
  std::uint64_t looked_at_ = 0;
};

// The numbers of the records that a selection asks for, and of those that `wanted` says yes to.
std::vector<std::uint32_t> matching_records(
    const Table& table, const Selection& selection,
    const std::function<bool(const Walk&)>& wanted = [](const Walk&) { return true; });

}  // namespace tool

#endif  // VQDB_SELECTION_H_
