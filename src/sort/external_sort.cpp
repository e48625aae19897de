#include "sort/external_sort.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <utility>

namespace vqdb::sort {
namespace {

constexpr Operation kSort{1027};

constexpr std::size_t kFewestEntries = 4;
constexpr std::size_t kNarrowestMerge = 2;
constexpr std::size_t kMostWorkspace = std::numeric_limits<std::size_t>::max() / 4;

// Puts many tags in place by a byte of `high`, those that share it by the byte below, and so on
// until few are left: that takes fewer looks at each than comparing them.
template <typename Tag, typename Before>
void sort_by_bytes(std::span<Tag> tags, unsigned shift, Before before) {
  constexpr std::size_t kFew = 256;
  if (tags.size() <= kFew) return std::sort(tags.begin(), tags.end(), before);
  const auto byte_of = [shift](const Tag& tag) {
    return static_cast<std::size_t>(tag.high >> shift & 0xFF);
  };
  std::array<std::size_t, 257> ends = {};  // of the tags with a lower byte
  for (const Tag& tag : tags) ++ends[byte_of(tag) + 1];
  for (std::size_t byte = 1; byte <= 256; ++byte) ends[byte] += ends[byte - 1];
  std::array<std::size_t, 256> next;
  std::copy_n(ends.begin(), 256, next.begin());
  for (std::size_t byte = 0; byte < 256; ++byte) {
    while (next[byte] < ends[byte + 1]) {
      Tag tag = tags[next[byte]];
      while (byte_of(tag) != byte) std::swap(tag, tags[next[byte_of(tag)]++]);
      tags[next[byte]++] = tag;
    }
  }
  for (std::size_t byte = 0; byte < 256; ++byte) {
    const std::span<Tag> equal = tags.subspan(ends[byte], ends[byte + 1] - ends[byte]);
    if (shift != 0) {
      sort_by_bytes(equal, shift - 8, before);
    } else {
      std::sort(equal.begin(), equal.end(), before);
    }
  }
}

}  // namespace

Result ExternalSort::start() {
  const std::size_t per_entry = entry_bytes_ + sizeof(Tag);
  const std::uint64_t wanted = std::uint64_t{block_.page_count_setting} * kWorkspaceUnit;
  workspace_bytes_ =
      std::max(static_cast<std::size_t>(std::min<std::uint64_t>(wanted, kMostWorkspace)),
               kFewestEntries * per_entry);
  workspace_ = platform::allocate_bytes(workspace_bytes_);
  if (workspace_ == nullptr) return fail(block_, Result::no_memory, kSort.detail(2));
  capacity_ = std::min<std::size_t>(workspace_bytes_ / per_entry,
                                    std::numeric_limits<std::uint32_t>::max());
  tags_ = reinterpret_cast<Tag*>(workspace_.get());
  entries_ = workspace_.get() + capacity_ * sizeof(Tag);
  return Result::ok;
}

void ExternalSort::accept() {
  const auto index = static_cast<std::uint32_t>(count_++);
  const Prefix prefix = order_.prefix(entry_at(index));
  tags_[index] = {prefix.high, prefix.low, index};
}

void ExternalSort::sort_tags() {
  sort_by_bytes(std::span(tags_, count_), 56, [this](const Tag& a, const Tag& b) {
    if (a.high != b.high) return a.high < b.high;
    if (a.low != b.low) return a.low < b.low;
    const int order = order_.compare(entry_at(a.index), entry_at(b.index));
    return order != 0 ? order < 0 : a.index < b.index;
  });
}

Result ExternalSort::write_run() {
  if (writer_ == nullptr) {
    writer_ = std::make_unique<RunWriter>(block_, entry_bytes_);
    if (const Result result = writer_->start(); !ok(result)) return result;
  }
  sort_tags();
  for (std::size_t i = 0; i < count_; ++i) {
    const Result result = writer_->add(entry_at(tags_[i].index));
    if (!ok(result)) return result;
  }
  count_ = 0;
  runs_.emplace_back();
  return writer_->end_run(runs_.back());
}

Result ExternalSort::finish() {
  if (runs_.empty()) {
    sort_tags();
    return Result::ok;
  }
  if (count_ > 0) {
    if (const Result result = write_run(); !ok(result)) return result;
  }
  writer_.reset();
  const std::size_t most = workspace_bytes_ / entry_bytes_;
  const std::size_t width = std::clamp<std::size_t>(block_.count_setting, kNarrowestMerge, most);
  while (runs_.size() > width) {
    if (const Result result = merge_pass(width); !ok(result)) return result;
  }
  last_merge_ = std::make_unique<Merge>(block_, order_);
  return last_merge_->start(runs_, entry_bytes_, {workspace_.get(), workspace_bytes_});
}

// Merges neighbouring runs, from the first on, no more of them than needed to end with one more
// merge. The new run stands in the place of the old ones, so equal entries stay in order.
Result ExternalSort::merge_pass(std::size_t width) {
  RunWriter writer(block_, entry_bytes_);
  if (const Result result = writer.start(); !ok(result)) return result;
  std::vector<Run> merged;
  std::size_t left = runs_.size();
  for (std::size_t first = 0; first < runs_.size();) {
    const std::size_t excess = merged.size() + left - std::min(merged.size() + left, width);
    const std::size_t group = std::min({excess + 1, width, left});
    if (group == 1) {
      merged.push_back(runs_[first]);
    } else {
      merged.emplace_back();
      const Result result =
          merge_group(std::span(runs_).subspan(first, group), writer, merged.back());
      if (!ok(result)) return result;
    }
    for (std::size_t i = 0; i < group; ++i) runs_[first + i] = {};
    first += group;
    left -= group;
  }
  runs_ = std::move(merged);
  return Result::ok;
}

Result ExternalSort::merge_group(std::span<const Run> group, RunWriter& writer, Run& merged) {
  if (const Result result = progress_.pulse(); !ok(result)) return result;
  Merge merge(block_, order_);
  Result result = merge.start(group, entry_bytes_, {workspace_.get(), workspace_bytes_});
  const Byte* entry = nullptr;
  while (ok(result) && ok(result = merge.next(entry)) && entry != nullptr) {
    result = writer.add(entry);
  }
  return ok(result) ? writer.end_run(merged) : result;
}

Result ExternalSort::next(const Byte*& entry) {
  if (last_merge_ != nullptr) return last_merge_->next(entry);
  entry = delivered_ < count_ ? entry_at(tags_[delivered_++].index) : nullptr;
  return Result::ok;
}

}  // namespace vqdb::sort
