#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

#include "code_pages.h"
#include "commands/command.h"
#include "display.h"
#include "index_group.h"
#include "memo_file.h"
#include "selection.h"
#include "style.h"
#include "table.h"
#include "warnings.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

struct Options {
  std::vector<std::string> tables;
  std::vector<std::string> indexes;
  bool json = false;
  TextOptions texts;
};

// An index file and its indexes, or why they cannot be told.
struct IndexReport {
  IndexFile file;
  std::vector<IndexFacts> facts;
  std::string trouble;
};

// All that is told about one file.
struct Report {
  std::string path;
  Header header;
  std::uint64_t deleted = 0;
  std::string code_page;
  std::string code_page_source;
  std::string memo_path;
  std::string memo_trouble;
  std::vector<IndexReport> indexes;
  std::vector<std::string> oddities;
  std::string refused;  // why the library does not read it
};

bool has_memos(const Header& header) {
  return std::ranges::any_of(header.fields, is_memo_type, &Field::type);
}

IndexReport index_report(const Table& table, const IndexFile& file) {
  IndexReport report;
  report.file = file;
  if (!file.is_there) {
    report.trouble = "missing";
    return report;
  }
  try {
    report.facts = index_facts(table, file);
  } catch (const Stop& stop) {
    report.trouble = stop.what();
  }
  return report;
}

// Counts the deleted records, and flags that are neither.
void look_at_flags(const Table& table, Report& report) {
  std::string record(table.record_length(), ' ');
  std::uint64_t odd = 0;
  for (std::uint32_t recno = 1; recno <= table.record_count(); ++recno) {
    table.read(recno, record.data());
    if (record[0] == '*') ++report.deleted;
    if (record[0] != '*' && record[0] != ' ') ++odd;
  }
  if (odd > 0) {
    report.oddities.push_back(fmt::format("{} deletion flags are neither a blank nor a star", odd));
  }
}

Report report_on(const std::string& name, const Options& options) {
  Report report;
  report.path = find_table(name);
  report.header = read_header(report.path);
  report.oddities = oddities_of(report.header);
  try {
    const Quiet quiet;  // what a warning would say is among the oddities
    const Table table(name, options.texts);
    report.code_page = table.encoding().name();
    report.code_page_source = table.encoding().source();
    if (has_memos(report.header)) {
      const MemoFile memos(table);
      report.memo_path = memos.path();
      if (!memos.is_open()) report.memo_trouble = memos.why();
    }
    for (const IndexFile& file : index_group_of(report.path, report.header, options.indexes)) {
      report.indexes.push_back(index_report(table, file));
    }
    look_at_flags(table, report);
  } catch (const Stop& stop) {
    if (stop.code() == Exit::usage) throw;
    report.refused = stop.what();
  }
  return report;
}

void print_line(std::string_view label, const std::string& text) {
  fmt::print("  {:<12}{}\n", label, text);
}

void print_fields(const Header& header) {
  print_line("fields", std::to_string(header.fields.size()));
  std::size_t width = 4;
  for (const Field& field : header.fields) {
    width = std::max(width, display_width(one_line(field.name)));
  }
  fmt::print("    {}{:>3}  {}  type  width  decimals{}\n", output_style(style::kFaint), "#",
             pad("name", width, false), output_style(style::kNone));
  for (std::size_t i = 0; i < header.fields.size(); ++i) {
    const Field& field = header.fields[i];
    const std::string decimals =
        is_numeric_type(field.type) ? fmt::format("  {:>8}", field.decimals) : "";
    fmt::print("    {:>3}  {}  {:<4}  {:>5}{}\n", i + 1, pad(one_line(field.name), width, false),
               one_line({&field.type, 1}), field.width, decimals);
  }
}

void print_index(const IndexReport& index) {
  if (!index.trouble.empty()) {
    fmt::print("    {}  {}\n", index.file.path, index.trouble);
    return;
  }
  if (index.facts.size() != 1 || !index.facts[0].tag.empty()) {
    fmt::print("    {}  {} tags\n", index.file.path, index.facts.size());
  }
  for (const IndexFacts& facts : index.facts) {
    fmt::print("    {}  {}{}{}{}  ({}, {} bytes)\n",
               facts.tag.empty() ? index.file.path : "  " + facts.tag, one_line(facts.key),
               facts.filter.empty() ? "" : "  for " + one_line(facts.filter),
               facts.unique ? "  unique" : "", facts.descending ? "  descending" : "",
               facts.key_type, facts.key_length);
  }
}

void print_report(const Report& report) {
  const Header& header = report.header;
  fmt::print("{}{}{}\n", output_style(style::kBold), report.path, output_style(style::kNone));
  print_line("kind",
             fmt::format("{} (version 0x{:02X})", name_of_version(header.version), header.version));
  if (header.is_unknown()) return;  // nothing of it stands where it is looked for
  const std::string deleted =
      report.deleted > 0 ? fmt::format(", {} of them deleted", report.deleted) : "";
  print_line("records", fmt::format("{}{}", header.records, deleted));
  print_line("length",
             fmt::format("{} bytes a record, {} the header", header.record_length, header.length));
  print_line("updated", fmt::format("{:04}-{:02}-{:02}", header.year, header.month, header.day));
  if (!report.code_page.empty()) {
    print_line("code page", fmt::format("{} ({})", report.code_page, report.code_page_source));
  }
  if (!report.memo_path.empty()) {
    print_line("memo file", report.memo_trouble.empty() ? report.memo_path : report.memo_trouble);
  }
  if (!header.fields.empty()) print_fields(header);
  if (!report.indexes.empty()) fmt::print("  indexes\n");
  for (const IndexReport& index : report.indexes) print_index(index);
  for (const std::string& oddity : report.oddities) {
    fmt::print("  {}{:<12}{}{}\n", output_style(style::kWarning), "odd", oddity,
               output_style(style::kNone));
  }
}

std::string text_for_json(const std::string& text) {
  return valid_utf8(text) == text.size() ? text : one_line(text);
}

Json json_of(const Report& report) {
  const Header& header = report.header;
  Json json;
  json["file"] = report.path;
  json["version"] = header.version;
  json["dialect"] = name_of_version(header.version);
  json["records"] = header.records;
  json["deleted"] = report.deleted;
  json["record_length"] = header.record_length;
  json["header_length"] = header.length;
  json["updated"] = fmt::format("{:04}-{:02}-{:02}", header.year, header.month, header.day);
  if (!report.code_page.empty()) {
    json["code_page"] = {{"name", report.code_page}, {"from", report.code_page_source}};
  }
  if (!report.memo_path.empty()) {
    json["memo_file"] = {
        {"file", report.memo_path},
        {"trouble", report.memo_trouble.empty() ? Json() : Json(report.memo_trouble)}};
  }
  json["fields"] = Json::array();
  for (const Field& field : header.fields) {
    json["fields"].push_back({{"name", text_for_json(field.name)},
                              {"type", text_for_json({&field.type, 1})},
                              {"width", field.width},
                              {"decimals", field.decimals}});
  }
  json["indexes"] = Json::array();
  for (const IndexReport& index : report.indexes) {
    Json entry = {{"file", index.file.path}, {"kind", keyword_of(index.file.kind)}};
    if (!index.trouble.empty()) entry["trouble"] = index.trouble;
    entry["orders"] = Json::array();
    for (const IndexFacts& facts : index.facts) {
      entry["orders"].push_back(
          {{"tag", facts.tag.empty() ? Json() : Json(facts.tag)},
           {"key", text_for_json(facts.key)},
           {"for", facts.filter.empty() ? Json() : Json(text_for_json(facts.filter))},
           {"type", std::string(1, facts.key_type)},
           {"length", facts.key_length},
           {"unique", facts.unique},
           {"descending", facts.descending}});
    }
    json["indexes"].push_back(std::move(entry));
  }
  json["odd"] = report.oddities;
  json["refused"] = report.refused.empty() ? Json() : Json(report.refused);
  return json;
}

Exit run(const Options& options) {
  Json all = Json::array();
  bool failed = false;
  for (const std::string& name : options.tables) {
    try {
      const Report report = report_on(name, options);
      if (options.json) {
        all.push_back(json_of(report));
      } else {
        if (name != options.tables.front()) fmt::print("\n");
        print_report(report);
      }
      if (report.refused.empty()) continue;
      std::fflush(stdout);
      print_error(report.refused);
    } catch (const Stop& stop) {  // the other files are told about nevertheless
      if (stop.code() == Exit::usage) throw;
      std::fflush(stdout);
      print_error(stop.what());
    }
    failed = true;
  }
  if (options.json) fmt::print("{}\n", all.dump(2));
  return failed ? Exit::failed : Exit::done;
}

}  // namespace

void add_info(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command(
      "info", "Tell what a table is made of, and what is odd about it", options, run);
  command.required("FILE", options->tables, "The tables");
  command.flag("--json", options->json, "As a JSON array, an object for each table");
  command.option("--index", options->indexes, "FILE",
                 "An index file that belongs to the table besides");
  add_text_options(command, options->texts);
  command.footer(
      "Exit code 3: one of the files cannot be read; what its header says is told all the same.\n\n"
      "Examples:\n"
      "  vqdb info world.dbf\n"
      "  vqdb info *.dbf\n"
      "  vqdb info --json world.dbf | jq '.[0].fields[].name'");
}

}  // namespace tool
