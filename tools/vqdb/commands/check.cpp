#include <array>
#include <map>
#include <nlohmann/json.hpp>

#include "assignments.h"
#include "commands/command.h"
#include "display.h"
#include "file_names.h"
#include "index_group.h"
#include "progress.h"
#include "style.h"
#include "system.h"
#include "table.h"
#include "warnings.h"
#include "working_block.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

struct Options {
  std::vector<std::string> files;
  std::vector<std::string> indexes;
  std::string backup;
  bool repair = false;
  bool json = false;
};

constexpr std::uint64_t kShownOfAKind = 10;
constexpr std::array<std::string_view, 4> kSeverities = {"", "note", "warning", "error"};

// What is found in one group or file, on its way to the person.
class Report {
 public:
  explicit Report(bool prints) : prints_(prints) {}

  void take(const VqFinding& finding) {
    ++counts_[static_cast<std::size_t>(finding.severity)];
    if (finding.code == VQ_F_BACKUP) backups_.emplace_back(finding.file, finding.name);
    if (!prints_) {
      findings_.push_back(json_of(finding));
    } else if (++kinds_[finding.code] <= kShownOfAKind) {
      print(finding);
    }
  }

  std::uint64_t count(std::int32_t severity) const {
    return counts_[static_cast<std::size_t>(severity)];
  }
  void print_rest() const {
    for (const auto& [code, count] : kinds_) {
      if (count <= kShownOfAKind) continue;
      fmt::print("{} more findings of kind {} are not shown\n", count - kShownOfAKind, code);
    }
  }
  Json take_findings() { return std::move(findings_); }
  // The library keeps what it has mended when it is cancelled.
  void bring_back() const {
    for (const auto& [file, backup] : backups_) replace_file(backup, file);
  }

 private:
  static void print(const VqFinding& finding) {
    const std::string_view severity = kSeverities[static_cast<std::size_t>(finding.severity)];
    const std::string_view colour = finding.severity == VQ_SEVERITY_ERROR     ? style::kError
                                    : finding.severity == VQ_SEVERITY_WARNING ? style::kWarning
                                                                              : style::kFaint;
    std::string place;
    if (finding.record != 0) place += fmt::format("record {}: ", finding.record);
    if (finding.name != nullptr && finding.code != VQ_F_BACKUP) {
      place += one_line(finding.name) + ": ";
    }
    Progress::clear_line();
    fmt::print("{}: {}{} {}{}: {}{}\n", finding.file, output_style(colour), severity, finding.code,
               output_style(style::kNone), place, finding.text);
  }

  static Json json_of(const VqFinding& finding) {
    return {{"file", finding.file},
            {"severity", kSeverities[static_cast<std::size_t>(finding.severity)]},
            {"code", finding.code},
            {"record", finding.record != 0 ? Json(finding.record) : Json()},
            {"page", finding.page != 0 ? Json(finding.page) : Json()},
            {"offset", finding.offset},
            {"name", finding.name != nullptr ? Json(one_line(finding.name)) : Json()},
            {"text", one_line(finding.text)}};
  }

  const bool prints_;
  std::array<std::uint64_t, 4> counts_ = {};
  std::map<std::int32_t, std::uint64_t> kinds_;
  std::vector<std::pair<std::string, std::string>> backups_;
  Json findings_ = Json::array();
};

int32_t VQ_CALL take_finding(void* context, const VqFinding* finding) {
  static_cast<Report*>(context)->take(*finding);
  return interrupted() ? 1 : 0;
}

bool is_index_name(const std::string& name) {
  const std::string upper = to_upper(name);
  return upper.ends_with(".NDX") || upper.ends_with(".MDX");
}

// Checks an index file alone.
int32_t check_index(std::uint32_t kind, const std::string& path, Report& report,
                    Progress& progress) {
  const auto block = working_block(Header());
  const Progress::Watch watch(*block, progress);
  const auto check = kind == VQ_KIND_MDX ? dXcheck : dNcheck;
  const int32_t result = check(block.get(), path.c_str(), nullptr, take_finding, &report);
  if (result < 0) require(*block, result, path);
  return result;
}

// The same for a table with its memo file and every index of its group.
int32_t check_group(const std::string& path, const std::string& name, const Options& options,
                    Report& report, Progress& progress) {
  const Header header = read_header(path);
  const std::vector<IndexFile> group = index_group_of(path, header, options.indexes);
  std::vector<VqIndexDef> indexes;
  for (const IndexFile& file : group) {
    indexes.push_back({file.kind, file.path.c_str(), nullptr, nullptr, nullptr, 0});
  }
  const VqCheckOptions what = {0, static_cast<int32_t>(indexes.size()),
                               indexes.empty() ? nullptr : indexes.data(), nullptr,
                               options.backup.empty() ? nullptr : options.backup.c_str()};
  const auto block = working_block(header);
  const Progress::Watch watch(*block, progress);
  const auto work = options.repair ? DBrepair : DBcheck;
  const int32_t result = work(block.get(), name.c_str(), &what, take_finding, &report);
  if (result == VQ_E_CANCELLED) report.bring_back();
  if (result < 0) require(*block, result, path);
  return result;
}

std::string verdict(const Report& report, int32_t errors, bool repaired) {
  if (repaired && report.count(VQ_SEVERITY_ERROR) > 0) {
    return errors == 0 ? "mended" : fmt::format("{} errors are left", errors);
  }
  const std::uint64_t warnings = report.count(VQ_SEVERITY_WARNING);
  std::string text = errors == 0   ? "sound"
                     : errors == 1 ? "1 error"
                                   : fmt::format("{} errors", errors);
  if (warnings > 0)
    text += fmt::format(", {} {}", warnings, warnings == 1 ? "warning" : "warnings");
  return text;
}

Exit run(const Options& options) {
  Exit exit = Exit::done;
  Json all = Json::array();
  for (const std::string& name : options.files) {
    const NamePair names = split_at_semicolon(name);
    const std::uint32_t kind = index_kind_of(names.first);
    const auto index = is_index_name(names.first) ? find_file(names.first) : std::nullopt;
    if (index && options.repair) {
      stop_usage("{}: an index is mended with its table; name that", *index);
    }
    const std::string path = index ? *index : find_table(name);
    Report report(!options.json);
    Progress progress(options.repair ? "repairing" : "checking");
    const std::string full = names.second.empty() ? path : path + ";" + names.second;
    const int32_t errors = index ? check_index(kind, path, report, progress)
                                 : check_group(path, full, options, report, progress);
    Progress::clear_line();
    if (errors != 0) exit = Exit::no;
    if (!options.json) {
      report.print_rest();
      fmt::print("{}: {}\n", path, verdict(report, errors, options.repair));
      continue;
    }
    all.push_back({{"file", path},
                   {"sound", errors == 0},
                   {"errors", errors},
                   {"findings", report.take_findings()}});
  }
  if (options.json) fmt::print("{}\n", all.dump(2));
  return exit;
}

}  // namespace

void add_check(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command = commands.command(
      "check", "Say whether tables, memo files and indexes are sound, and mend them", options, run);
  command.required("FILE", options->files,
                   "A table, with all that belongs to it, or an index file by itself");
  add_index_option(command, options->indexes);
  command.flag("--repair", options->repair, "Mend what is damaged; each file is kept beside it");
  command.option("--backup", options->backup, "DIR", "Keep the files as they were there instead");
  command.needs("--backup", "--repair");
  command.flag("--json", options->json, "All findings as JSON");
  command.footer(
      "An error is damage, a warning something odd that nothing is misread for, a note worth\n"
      "knowing. Of each kind ten are shown. The exit code is 1 when errors are there, or left.\n"
      "A repair drops no record; it keeps each file that it changes as NAME.BAK, BA1 and so on.\n\n"
      "Examples:\n"
      "  vqdb check *.dbf\n"
      "  vqdb check orders --repair --backup kept");
}

}  // namespace tool
