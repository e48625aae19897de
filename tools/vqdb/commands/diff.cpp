#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "assignments.h"
#include "commands/command.h"
#include "display.h"
#include "file_names.h"
#include "progress.h"
#include "record_reader.h"
#include "selection.h"

namespace tool {
namespace {

struct Options {
  std::string first;
  std::string second;
  bool json = false;
  TextOptions texts;
};

// The differences as they are found, for a person or as a JSON line each.
class Differences {
 public:
  explicit Differences(bool json) : json_(json) {}

  std::uint64_t count() const { return count_; }

  void field(std::uint32_t recno, const std::string& name, const std::string& a,
             const std::string& b) {
    ++count_;
    if (json_) {
      print({{"record", recno}, {"field", name}, {"first", a}, {"second", b}});
    } else {
      fmt::print("record {}, {}: \"{}\" | \"{}\"\n", recno, name, one_line(a), one_line(b));
    }
  }
  void structure(const std::string& name, const std::string& a, const std::string& b) {
    ++count_;
    if (json_) {
      print({{"field", name}, {"first", a}, {"second", b}});
    } else {
      fmt::print("field {}: {} | {}\n", name, a, b);
    }
  }
  void alone(std::uint32_t first, std::uint32_t last, const std::string& path) {
    count_ += last - first + 1;
    if (json_) {
      print({{"records", {first, last}}, {"only_in", path}});
    } else if (first == last) {
      fmt::print("record {}: only in {}\n", first, path);
    } else {
      fmt::print("records {} to {}: only in {}\n", first, last, path);
    }
  }

 private:
  static void print(const nlohmann::ordered_json& json) { fmt::print("{}\n", json.dump()); }

  bool json_;
  std::uint64_t count_ = 0;
};

std::string type_text(const Field& field) {
  std::string text = fmt::format("{}{}", field.type, field.width);
  if (is_numeric_type(field.type) && field.decimals > 0) text += fmt::format(".{}", field.decimals);
  return text;
}

// The fields that both tables have, as numbers in each.
struct Common {
  std::vector<std::size_t> first;
  std::vector<std::size_t> second;
};

Common compare_structures(const Table& a, const Table& b, Differences& differences) {
  Common common;
  std::set<std::size_t> met;
  for (std::size_t i = 0; i < a.fields().size(); ++i) {
    const Field& field = a.fields()[i];
    const auto other = std::ranges::find_if(
        b.fields(), [&](const Field& f) { return equal_ignoring_case(f.name, field.name); });
    if (other == b.fields().end()) {
      differences.structure(field.name, type_text(field), "none");
      continue;
    }
    if (type_text(*other) != type_text(field)) {
      differences.structure(field.name, type_text(field), type_text(*other));
    }
    common.first.push_back(i);
    common.second.push_back(static_cast<std::size_t>(other - b.fields().begin()));
    met.insert(common.second.back());
  }
  for (std::size_t i = 0; i < b.fields().size(); ++i) {
    if (!met.contains(i)) {
      differences.structure(b.fields()[i].name, "none", type_text(b.fields()[i]));
    }
  }
  return common;
}

void compare_records(const Options& options, const Table& a, const Table& b, const Common& common,
                     Differences& differences) {
  Warnings warnings(false);
  Progress progress("comparing", true);
  RecordReader first(a, options.texts, warnings);
  RecordReader second(b, options.texts, warnings);
  std::string record_a(a.record_length(), ' ');
  std::string record_b(b.record_length(), ' ');
  std::vector<Value> values_a;
  std::vector<Value> values_b;
  const std::uint32_t both = std::min(a.record_count(), b.record_count());
  for (std::uint32_t recno = 1; recno <= both; ++recno) {
    progress.at(recno, both);
    a.read(recno, record_a.data());
    b.read(recno, record_b.data());
    if ((record_a[0] == '*') != (record_b[0] == '*')) {
      differences.field(recno, "deleted", record_a[0] == '*' ? "true" : "false",
                        record_b[0] == '*' ? "true" : "false");
    }
    first.read(record_a.data(), recno, common.first, values_a);
    second.read(record_b.data(), recno, common.second, values_b);
    for (std::size_t i = 0; i < common.first.size(); ++i) {
      const std::string shown_a = show(values_a[i]);
      const std::string shown_b = show(values_b[i]);
      if (shown_a == shown_b) continue;
      differences.field(recno, a.fields()[common.first[i]].name, shown_a, shown_b);
    }
  }
  for (const Table* const longer : {&a, &b}) {
    if (longer->record_count() > both) {
      differences.alone(both + 1, longer->record_count(), longer->path());
    }
  }
  warnings.finish();
}

Exit run(const Options& options) {
  const Table a(options.first, options.texts);
  const Table b(options.second, options.texts);
  Differences differences(options.json);
  const Common common = compare_structures(a, b, differences);
  compare_records(options, a, b, common, differences);
  return differences.count() == 0 ? Exit::done : Exit::no;
}

}  // namespace

void add_diff(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command("diff", "Tell how two tables differ", options, run);
  command.required("A", options->first, "One table");
  command.required("B", options->second, "The other");
  command.flag("--json", options->json, "A JSON object for each difference, one a line");
  add_text_options(command, options->texts);
  command.footer(
      "Records are compared by their numbers, memos by their texts, deletion marks as well. Exit\n"
      "code 1: there are differences.\n\n"
      "Examples:\n"
      "  vqdb diff towns.dbf backup/towns.dbf");
}

}  // namespace tool
