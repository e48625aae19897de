#include "memo/free_runs.h"

#include <algorithm>

namespace vqdb::memo {
namespace {

constexpr std::size_t kPortion = 256;

}  // namespace

FreeRuns::Portion::Portion() { runs.reserve(kPortion); }

void FreeRuns::Portion::widen(Run run) {
  largest = std::max(largest, run.count);
  lowest = std::min(lowest, run.first);
  end = std::max(end, run.end());
}

void FreeRuns::clear() {
  portions_.clear();
  size_ = 0;
}

FreeRuns::Place FreeRuns::end() const {
  Place place;
  place.portion = portions_.size();
  return place;
}

FreeRuns::Place FreeRuns::before(Place place) const {
  if (place.index == 0) place.index = portions_[--place.portion].runs.size();
  --place.index;
  return place;
}

FreeRuns::Place FreeRuns::behind(Place place) const {
  if (++place.index == portions_[place.portion].runs.size()) {
    ++place.portion;
    place.index = 0;
  }
  return place;
}

FreeRuns::Place FreeRuns::find(std::uint32_t blocks, Run used) const {
  Place place;
  for (; place.portion < portions_.size(); ++place.portion) {
    const Portion& portion = portions_[place.portion];
    if (!portion.may_fit(blocks, used)) continue;
    const auto found = std::ranges::find_if(
        portion.runs, [&](Run run) { return run.count >= blocks || overlap(run, used); });
    if (found == portion.runs.end()) continue;
    place.index = static_cast<std::size_t>(found - portion.runs.begin());
    return place;
  }
  return place;
}

void FreeRuns::push_front(Run run) {
  if (portions_.empty() || portions_.front().runs.size() >= kPortion) portions_.emplace_front();
  Portion& portion = portions_.front();
  portion.runs.insert(portion.runs.begin(), run);
  portion.widen(run);
  ++size_;
}

void FreeRuns::push_back(Run run) {
  if (portions_.empty() || portions_.back().runs.size() >= kPortion) portions_.emplace_back();
  Portion& portion = portions_.back();
  portion.runs.push_back(run);
  portion.widen(run);
  ++size_;
}

void FreeRuns::replace(Place place, Run run) {
  Portion& portion = portions_[place.portion];
  portion.runs[place.index] = run;
  recount(portion);
}

void FreeRuns::erase(Place place) {
  Portion& portion = portions_[place.portion];
  portion.runs.erase(portion.runs.begin() + static_cast<std::ptrdiff_t>(place.index));
  --size_;
  if (portion.runs.empty()) {
    portions_.erase(portions_.begin() + static_cast<std::ptrdiff_t>(place.portion));
  } else {
    recount(portion);
  }
}

void FreeRuns::recount(Portion& portion) {
  portion.largest = 0;
  portion.lowest = UINT32_MAX;
  portion.end = 0;
  for (const Run run : portion.runs) portion.widen(run);
}

std::vector<Run> FreeRuns::all() const {
  std::vector<Run> runs;
  runs.reserve(size_);
  for (const Portion& portion : portions_) {
    runs.insert(runs.end(), portion.runs.begin(), portion.runs.end());
  }
  return runs;
}

}  // namespace vqdb::memo
