// Sorts any number of entries in a bounded workspace: as many as fit are sorted in memory and, when
// more come, written to temporary files as runs, which are merged. The block's page-count setting
// is the workspace in units of 16384 bytes, its count setting how many runs are merged at once.
//
//   start; then for each entry make_room, write it, accept; finish; then next until null.
#ifndef VQDBSYS_SORT_EXTERNAL_SORT_H_
#define VQDBSYS_SORT_EXTERNAL_SORT_H_

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "frame/progress.h"
#include "frame/result.h"
#include "platform/memory.h"
#include "sort/entry_order.h"
#include "sort/merge.h"
#include "sort/run_file.h"

namespace vqdb::sort {

inline constexpr std::size_t kWorkspaceUnit = 16384;

class ExternalSort {
 public:
  ExternalSort(VqBlock& block, const EntryOrder& order, std::size_t entry_bytes,
               const Progress& progress)
      : block_(block), order_(order), entry_bytes_(entry_bytes), progress_(progress) {}
  ExternalSort(const ExternalSort&) = delete;
  ExternalSort& operator=(const ExternalSort&) = delete;

  // Takes the workspace. Detail 10272 without memory.
  Result start();
  // Where the next entry is to be written.
  Result make_room(Byte*& entry) {
    if (count_ == capacity_) {
      if (const Result result = write_run(); !ok(result)) return result;
    }
    entry = entry_at(static_cast<std::uint32_t>(count_));
    return Result::ok;
  }
  // The entry of make_room is written.
  void accept();
  // No more entries come.
  Result finish();
  // Null behind the last entry; valid until the next call.
  Result next(const Byte*& entry);

 private:
  // What is sorted in place of the entry.
  struct Tag {
    std::uint64_t high;
    std::uint32_t low;
    std::uint32_t index;  // of the entry, in the order in which they came
  };

  Byte* entry_at(std::uint32_t index) { return entries_ + std::size_t{index} * entry_bytes_; }
  void sort_tags();
  Result write_run();
  Result merge_pass(std::size_t width);
  Result merge_group(std::span<const Run> group, RunWriter& writer, Run& merged);

  VqBlock& block_;
  const EntryOrder& order_;
  const std::size_t entry_bytes_;
  const Progress& progress_;
  platform::Bytes workspace_;
  std::size_t workspace_bytes_ = 0;
  Tag* tags_ = nullptr;
  Byte* entries_ = nullptr;
  std::size_t capacity_ = 0;
  std::size_t count_ = 0;  // in memory
  std::size_t delivered_ = 0;
  std::vector<Run> runs_;
  std::unique_ptr<RunWriter> writer_;
  std::unique_ptr<Merge> last_merge_;
};

}  // namespace vqdb::sort

#endif  // VQDBSYS_SORT_EXTERNAL_SORT_H_
