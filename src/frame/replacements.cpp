#include "frame/replacements.h"

#include <charconv>
#include <cstdint>
#include <string_view>
#include <vector>

#include "frame/file_name.h"
#include "platform/file.h"

namespace vqdb {
namespace {

using platform::Error;
using platform::Outcome;

// A line for each file: the size of the one that it replaces, its name and that one's. Names of
// files beside the journal have no directory, so that the folder can be moved meanwhile.
constexpr char kSeparator = '\t';
constexpr char kLineEnd = '\n';
constexpr std::uint64_t kMostJournalBytes = 1 << 20;

struct Step {
  std::uint64_t replaced_size = 0;
  Replacement files;
};

std::string_view short_name(std::string_view directory, std::string_view path) {
  return directory_of(path) == directory ? path.substr(directory.size()) : path;
}

std::string full_name(std::string_view directory, std::string_view name) {
  const bool is_short = directory_of(name).empty();
  return is_short ? std::string(directory).append(name) : std::string(name);
}

Outcome size_of(const std::string& path, std::uint64_t& size) {
  platform::File file;
  const Outcome outcome = file.open(path, platform::Access::read_only);
  return outcome.ok() ? file.size(size) : outcome;
}

Outcome write_journal(const std::string& journal, const std::string& text) {
  const std::string growing = journal + "~";
  platform::File file;
  Outcome outcome = file.create(growing, platform::Creation::truncate);
  if (!outcome.ok()) return outcome;
  outcome = file.write_at(0, text.data(), text.size());
  if (outcome.ok()) outcome = file.sync();
  const Outcome closed = file.close();
  if (outcome.ok()) outcome = closed;
  if (outcome.ok()) outcome = platform::replace(growing, journal);
  if (!outcome.ok()) (void)platform::remove(growing);
  return outcome;
}

Outcome read_journal(const std::string& journal, std::vector<Step>& steps) {
  platform::File file;
  Outcome outcome = file.open(journal, platform::Access::read_only);
  std::uint64_t size = 0;
  if (outcome.ok()) outcome = file.size(size);
  if (!outcome.ok()) return outcome;
  if (size > kMostJournalBytes) return {Error::other, 0};
  std::string text(static_cast<std::size_t>(size), '\0');
  outcome = file.read_exactly(0, text.data(), text.size());
  if (!outcome.ok()) return outcome;
  const std::string_view directory = directory_of(journal);
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t line_end = rest.find(kLineEnd);
    const std::string_view line = rest.substr(0, line_end);
    const std::size_t first = line.find(kSeparator);
    const std::size_t second = line.find(kSeparator, first + 1);
    Step step;
    const auto number = std::from_chars(line.data(), line.data() + line.size(), step.replaced_size);
    if (line_end == std::string_view::npos || second == std::string_view::npos ||
        number.ec != std::errc()) {
      return {Error::other, 0};
    }
    step.files = {full_name(directory, line.substr(first + 1, second - first - 1)),
                  full_name(directory, line.substr(second + 1))};
    steps.push_back(step);
    rest.remove_prefix(line_end + 1);
  }
  return {};
}

Outcome forget(const std::string& journal, const std::vector<Step>& steps) {
  const Outcome outcome = platform::remove(journal);
  if (!outcome.ok() && outcome.error != Error::not_found) return outcome;
  for (const Step& step : steps) (void)platform::remove(step.files.from);
  return {};
}

Outcome take_steps(const std::string& journal, const std::vector<Step>& steps) {
  bool any_done = false;
  for (const Step& step : steps) {
    if (!platform::exists(step.files.from)) {
      any_done = true;
      continue;
    }
    std::uint64_t size = 0;
    const Outcome sized = size_of(step.files.to, size);
    if (!sized.ok() && sized.error != Error::not_found) return sized;
    if (sized.ok() && size != step.replaced_size) {
      return any_done ? Outcome{Error::other, 0} : forget(journal, steps);
    }
    const Outcome outcome = platform::replace(step.files.from, step.files.to);
    // Another process may have been faster.
    if (!outcome.ok() && outcome.error != Error::not_found) return outcome;
    any_done = true;
  }
  return forget(journal, {});
}

}  // namespace

Outcome replace_together(const std::string& journal, std::span<const Replacement> replacements) {
  const std::string_view directory = directory_of(journal);
  std::string text;
  std::vector<Step> steps;
  for (const Replacement& files : replacements) {
    Step step = {0, files};
    const Outcome outcome = size_of(files.to, step.replaced_size);
    if (!outcome.ok()) return outcome;
    text.append(std::to_string(step.replaced_size)).append(1, kSeparator);
    text.append(short_name(directory, files.from)).append(1, kSeparator);
    text.append(short_name(directory, files.to)).append(1, kLineEnd);
    steps.push_back(step);
  }
  const Outcome written = write_journal(journal, text);
  if (!written.ok()) return written;
  const Outcome outcome = take_steps(journal, steps);
  // Where not even the first file could be replaced, all stays as it was.
  const bool untouched = !outcome.ok() && platform::exists(steps.front().files.from);
  if (untouched) (void)forget(journal, steps);
  return outcome;
}

Outcome complete_replacements(const std::string& journal) {
  if (!platform::exists(journal)) return {};
  std::vector<Step> steps;
  const Outcome outcome = read_journal(journal, steps);
  if (outcome.error == Error::not_found) return {};
  return outcome.ok() ? take_steps(journal, steps) : outcome;
}

}  // namespace vqdb
