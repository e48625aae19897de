#include "assignments.h"

#include <algorithm>

#include "stop.h"

namespace tool {
namespace {

constexpr std::uint8_t kDbase4Bit = 0x08;

}  // namespace

std::vector<Assignment> parse_assignments(const Table& table,
                                          const std::vector<std::string>& texts) {
  std::vector<Assignment> assignments;
  for (const std::string& text : texts) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
      stop_usage("\"{}\" gives no field a value: FIELD=VALUE", text);
    }
    assignments.push_back(
        {table.fields()[table.field_number(text.substr(0, equals))], text.substr(equals + 1)});
  }
  return assignments;
}

bool writes_memo(const std::vector<Assignment>& assignments) {
  return std::ranges::any_of(assignments,
                             [](const Assignment& a) { return is_memo_type(a.field.type); });
}

bool is_dbase3(const Header& header) { return (header.version & kDbase4Bit) == 0; }

void add_index_option(CommandLine& command, std::vector<std::string>& indexes) {
  command.option("--index", indexes, "FILE",
                 "An index file that belongs to the table besides those of its index list and the "
                 "production index beside it");
}

void add_change_options(CommandLine& command, std::vector<std::string>& indexes, bool& cut) {
  add_index_option(command, indexes);
  command.flag("--cut", cut, "Cut texts and decimals that do not fit, and tell how many");
}

std::string cuts_text(std::uint64_t cuts) {
  if (cuts == 0) return "";
  return fmt::format(", {} {} cut", cuts, cuts == 1 ? "value" : "values");
}

std::string records_text(std::uint64_t count) {
  return fmt::format("{} {}", count, count == 1 ? "record" : "records");
}

}  // namespace tool
