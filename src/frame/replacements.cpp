#include "frame/replacements.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <utility>

#include "frame/bytes.h"
#include "frame/file_name.h"
#include "platform/file.h"

namespace vqdb {
namespace {

using platform::Error;
using platform::Outcome;

// A line for each file: check sums of what it holds before and after, and its name. Names of files
// beside the journal have no directory, so that the folder can be moved meanwhile.
constexpr char kSeparator = '\t';
constexpr char kLineEnd = '\n';
constexpr std::uint64_t kMostJournalBytes = 1 << 20;
constexpr int kBase = 16;

std::string growing_beside(const std::string& target) { return target + "$NEW"; }

struct Step {
  std::uint64_t before = 0;
  std::uint64_t after = 0;
  std::string target;
};

std::string_view short_name(std::string_view directory, std::string_view path) {
  return directory_of(path) == directory ? path.substr(directory.size()) : path;
}

std::string full_name(std::string_view directory, std::string_view name) {
  const bool is_short = directory_of(name).empty();
  return is_short ? std::string(directory).append(name) : std::string(name);
}

// Tells a file from any other that it may be taken for (FNV-1a).
Outcome sum_of(const std::string& path, std::uint64_t& sum) {
  constexpr std::uint64_t kStart = 0xCBF29CE484222325;
  constexpr std::uint64_t kFactor = 0x100000001B3;
  platform::File file;
  Outcome outcome = file.open(path, platform::Access::read_only);
  std::uint64_t left = 0;
  if (outcome.ok()) outcome = file.size(left);
  sum = kStart;
  std::array<char, platform::kChunkBytes> bytes;
  for (std::uint64_t offset = 0; outcome.ok() && left > 0;) {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes.size()));
    outcome = file.read_exactly(offset, bytes.data(), size);
    for (std::size_t at = 0; at < size; ++at) {
      sum = (sum ^ static_cast<Byte>(bytes[at])) * kFactor;
    }
    offset += size;
    left -= size;
  }
  return outcome;
}

// Takes a number and the separator off the line.
bool take_sum(std::string_view& line, std::uint64_t& sum) {
  const char* const end = line.data() + line.size();
  const auto number = std::from_chars(line.data(), end, sum, kBase);
  if (number.ec != std::errc() || number.ptr == end || *number.ptr != kSeparator) return false;
  line.remove_prefix(static_cast<std::size_t>(number.ptr - line.data()) + 1);
  return true;
}

void append_sum(std::uint64_t sum, std::string& text) {
  std::array<char, 16> digits;
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), sum, kBase);
  text.append(digits.data(), written.ptr).append(1, kSeparator);
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
    std::string_view line = rest.substr(0, line_end);
    Step step;
    if (line_end == std::string_view::npos || !take_sum(line, step.before) ||
        !take_sum(line, step.after) || line.empty()) {
      return {Error::other, 0};
    }
    step.target = full_name(directory, line);
    steps.push_back(step);
    rest.remove_prefix(line_end + 1);
  }
  return {};
}

Outcome forget(const std::string& journal, const std::vector<Step>& steps) {
  const Outcome outcome = platform::remove(journal);
  if (!outcome.ok() && outcome.error != Error::not_found) return outcome;
  for (const Step& step : steps) (void)platform::remove(growing_beside(step.target));
  return {};
}

enum class State : std::uint8_t {
  ready,
  taken,
  lost,     // someone else has changed the file, or removed the new one
  unknown,  // the new file has gone, and this is neither it nor what was here before
};

Outcome look_at(const Step& step, State& state) {
  std::uint64_t sum = 0;
  Outcome outcome = sum_of(step.target, sum);
  const bool is_there = outcome.error != Error::not_found;
  if (is_there && !outcome.ok()) return outcome;
  state = sum == step.after ? State::taken : sum == step.before ? State::ready : State::lost;
  if (state != State::lost || !is_there) return {};
  platform::File growing;
  outcome = growing.open(growing_beside(step.target), platform::Access::read_only);
  if (outcome.error != Error::not_found) return outcome;
  state = State::unknown;
  return {};
}

Outcome take(const Step& step, State& state) {
  Outcome outcome = look_at(step, state);
  if (!outcome.ok() || state != State::ready) return outcome;
  outcome = platform::replace(growing_beside(step.target), step.target);
  if (outcome.ok()) state = State::taken;
  if (outcome.error != Error::not_found) return outcome;
  // Another process has been faster, or someone has removed the new file.
  outcome = look_at(step, state);
  if (state == State::ready) state = State::lost;
  return outcome;
}

enum class Done : std::uint8_t { nothing, part, all };

// After a failure `done` tells how far it came, as far as that is known.
Outcome take_steps(const std::string& journal, const std::vector<Step>& steps, Done& done) {
  done = Done::nothing;
  for (const Step& step : steps) {
    State state = State::lost;
    const Outcome outcome = take(step, state);
    if (outcome.ok() && state == State::taken) {
      done = Done::part;
      continue;
    }
    // Another process may have completed everything meanwhile, and gone on.
    if (!platform::exists(journal)) {
      done = Done::all;
      return {};
    }
    if (!outcome.ok()) return outcome;
    // The first file may have been replaced, and changed since: then the others belong to it.
    const bool none_taken = done == Done::nothing && state == State::lost;
    return none_taken ? forget(journal, steps) : Outcome{Error::other, 0};
  }
  done = Done::all;
  return forget(journal, {});
}

}  // namespace

GrowingPath::GrowingPath(const std::string& target) : path_(growing_beside(target)) {
  (void)platform::remove(path_);
}
GrowingPath::~GrowingPath() { (void)platform::remove(path_); }

GrowingFiles::GrowingFiles(std::string journal, std::vector<std::string> targets)
    : journal_(std::move(journal)), targets_(std::move(targets)) {
  for (const std::string& target : targets_) growing_.push_back(growing_beside(target));
}

GrowingFiles::~GrowingFiles() {
  if (!started_ || platform::exists(journal_)) return;
  for (const std::string& path : growing_) (void)platform::remove(path);
}

Outcome GrowingFiles::start() {
  if (const Outcome outcome = complete_replacements(journal_); !outcome.ok()) return outcome;
  for (const std::string& path : growing_) (void)platform::remove(path);
  started_ = true;
  return {};
}

Outcome GrowingFiles::put_in_place() {
  const std::string_view directory = directory_of(journal_);
  std::string text;
  std::vector<Step> steps;
  for (const std::string& target : targets_) {
    Step step = {0, 0, target};
    if (target.find(kLineEnd) != std::string::npos) return {Error::other, 0};
    Outcome outcome = sum_of(target, step.before);
    if (outcome.ok()) outcome = sum_of(growing_beside(target), step.after);
    if (outcome.ok() && step.before == step.after)
      outcome = platform::remove(growing_beside(target));
    if (!outcome.ok()) return outcome;
    if (step.before == step.after) continue;
    append_sum(step.before, text);
    append_sum(step.after, text);
    text.append(short_name(directory, target)).append(1, kLineEnd);
    steps.push_back(step);
  }
  if (steps.empty()) return {};
  const Outcome written = write_journal(journal_, text);
  if (!written.ok()) return written;
  Done done = Done::nothing;
  const Outcome outcome = take_steps(journal_, steps, done);
  // Where not even the first file could be replaced, all stays as it was.
  if (!outcome.ok() && done == Done::nothing) (void)forget(journal_, steps);
  if (done == Done::all) started_ = false;
  return outcome.ok() && done != Done::all ? Outcome{Error::other, 0} : outcome;
}

Outcome complete_replacements(const std::string& journal) {
  if (!platform::exists(journal)) return {};
  std::vector<Step> steps;
  const Outcome outcome = read_journal(journal, steps);
  if (outcome.error == Error::not_found) return {};
  Done done = Done::nothing;
  return outcome.ok() ? take_steps(journal, steps, done) : outcome;
}

}  // namespace vqdb
