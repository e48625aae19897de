#include "selection.h"

#include <charconv>
#include <numeric>

#include "file_names.h"
#include "stop.h"

namespace tool {

void add_text_options(CommandLine& command, TextOptions& texts) {
  command.option("--encoding", texts.encoding, "NAME",
                 "Code page of the table's texts, such as 437, 1252 or UTF-8; else a .cpg file "
                 "beside the table tells, else its language byte, else 1252 is taken");
  command.flag("--replace", texts.replace, "Go on with U+FFFD where a character cannot be read");
}

void add_filter_option(CommandLine& command, std::string& filter) {
  command.option("--for", filter, "EXPR", "Only records for which the expression is true");
}

void add_selection_options(CommandLine& command, Selection& selection) {
  command.list_option("--fields", selection.fields, "A,B,...", "Only these fields, in this order");
  add_filter_option(command, selection.filter);
  command.option("--order", selection.order, "INDEX[;TAG]",
                 "In the order of an index, or of a tag of one");
  command.flag("--reverse", selection.reverse, "From the last record to the first");
  command.option("--from", selection.from, "KEY",
                 "Begin with this key of the index, or with this record number");
  command.option("--limit", selection.limit, "N", "At most so many records");
  command.flag("--deleted", selection.deleted, "Deleted records as well");
}

std::vector<std::size_t> field_numbers(const Table& table, const std::vector<std::string>& names) {
  std::vector<std::size_t> numbers;
  if (names.empty()) {
    numbers.resize(table.fields().size());
    std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  }
  for (const std::string& name : names) numbers.push_back(table.field_number(name));
  return numbers;
}

RowShape shape_of(const Table& table, const std::vector<std::size_t>& fields, bool deleted) {
  RowShape shape{.table = to_lower(stem_of(table.path())), .fields = {}, .deleted_column = deleted};
  for (const std::size_t number : fields) {
    Field field = table.fields()[number];
    std::string name;
    table.encoding().decode(field.name, true, name);
    field.name = name;
    shape.fields.push_back(std::move(field));
  }
  return shape;
}

Walk::Walk(const Table& table, const Selection& selection, Warnings& warnings, Progress& progress)
    : table_(table),
      selection_(selection),
      warnings_(warnings),
      progress_(progress),
      record_(table.record_length(), ' ') {
  if (!selection.filter.empty()) {
    filter_ = std::make_unique<Expression>(selection.filter, &table);
    if (filter_->type() != 'L') stop_usage("{}: neither true nor false", selection.filter);
  }
  if (!selection.order.empty()) {
    order_ = std::make_unique<Order>(table, selection.order, selection.reverse);
    if (!selection.from.empty()) order_->start_at(selection.from);
    return;
  }
  recno_ = selection.reverse ? table.record_count() + 1 : 0;
  if (!selection.from.empty()) {
    const std::string& from = selection.from;
    std::uint32_t number = 0;
    const auto parsed = std::from_chars(from.data(), from.data() + from.size(), number);
    if (parsed.ec != std::errc() || parsed.ptr != from.data() + from.size() || number == 0) {
      stop_usage("--from without --order takes a record number, not \"{}\"", from);
    }
    recno_ = selection.reverse ? std::min(recno_, number + 1) : number - 1;
  }
}

bool Walk::next_number() {
  if (order_ != nullptr) return order_->next(recno_);
  if (selection_.reverse ? recno_ <= 1 : recno_ >= table_.record_count()) return false;
  selection_.reverse ? --recno_ : ++recno_;
  return true;
}

bool Walk::is_wanted() {
  const char flag = record_[0];
  if (flag == '*' && !selection_.deleted) return false;
  if (flag != '*' && flag != ' ') {
    warnings_.add("odd deletion flags",
                  fmt::format("{}: record {}: deletion flag 0x{:02X} is taken for a blank",
                              table_.path(), recno_, static_cast<unsigned char>(flag)));
  }
  return filter_ == nullptr || filter_->is_true(record_.data());
}

bool Walk::next() {
  if (selection_.limit != 0 && delivered_ == selection_.limit) return false;
  while (next_number()) {
    progress_.at(looked_at_++, table_.record_count());
    table_.read(recno_, record_.data());
    if (!is_wanted()) continue;
    ++delivered_;
    return true;
  }
  return false;
}

std::vector<std::uint32_t> matching_records(const Table& table, const Selection& selection,
                                            const std::function<bool(const Walk&)>& wanted) {
  Warnings warnings(false);
  Progress progress("looking");
  Walk walk(table, selection, warnings, progress);
  std::vector<std::uint32_t> found;
  while (walk.next()) {
    if (wanted(walk)) found.push_back(walk.recno());
  }
  warnings.finish();
  return found;
}

}  // namespace tool
