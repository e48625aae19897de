#include "sort/merge.h"

#include <utility>

namespace vqdb::sort {

Result Merge::start(std::span<const Run> runs, std::size_t entry_bytes, std::span<Byte> workspace) {
  const std::size_t share = workspace.size() / runs.size();
  sources_.reserve(runs.size());
  for (std::size_t i = 0; i < runs.size(); ++i) {
    sources_.push_back(
        {RunReader(runs[i], entry_bytes, workspace.subspan(i * share, share)), nullptr, {}});
    if (const Result result = advance(sources_.back()); !ok(result)) return result;
  }
  losers_.assign(runs.size(), 0);
  losers_[0] = runs.size() > 1 ? build(1) : 0;
  return Result::ok;
}

Result Merge::advance(Source& source) {
  const Result result = source.reader.next(block_, source.entry);
  if (source.entry != nullptr) source.prefix = order_.prefix(source.entry);
  return result;
}

bool Merge::goes_before(std::size_t a, std::size_t b) const {
  const Source& x = sources_[a];
  const Source& y = sources_[b];
  if (x.entry == nullptr || y.entry == nullptr) return y.entry == nullptr && x.entry != nullptr;
  if (x.prefix.high != y.prefix.high) return x.prefix.high < y.prefix.high;
  if (x.prefix.low != y.prefix.low) return x.prefix.low < y.prefix.low;
  const int order = order_.compare(x.entry, y.entry);
  return order != 0 ? order < 0 : a < b;
}

// Nodes 1 to n - 1 are inner ones, n to 2n - 1 the sources. Gives the winner below the node.
std::size_t Merge::build(std::size_t node) {
  if (node >= sources_.size()) return node - sources_.size();
  std::size_t winner = build(2 * node);
  std::size_t loser = build(2 * node + 1);
  if (goes_before(loser, winner)) std::swap(loser, winner);
  losers_[node] = loser;
  return winner;
}

void Merge::replay(std::size_t winner) {
  for (std::size_t node = (winner + sources_.size()) / 2; node > 0; node /= 2) {
    if (goes_before(losers_[node], winner)) std::swap(losers_[node], winner);
  }
  losers_[0] = winner;
}

Result Merge::next(const Byte*& entry) {
  if (winner_is_used_) {
    if (const Result result = advance(sources_[losers_[0]]); !ok(result)) return result;
    replay(losers_[0]);
  }
  entry = sources_[losers_[0]].entry;
  winner_is_used_ = entry != nullptr;
  return Result::ok;
}

}  // namespace vqdb::sort
