#include "index/ndx/ndx_file.h"

#include <algorithm>
#include <array>
#include <limits>

#include "frame/system_file.h"

namespace vqdb::index {
namespace {

constexpr Operation kStore{1023};
constexpr Operation kRefresh{1019};

}  // namespace

HandlePool<NdxFile>& ndx_files() {
  static HandlePool<NdxFile> pool;
  return pool;
}

void NdxStore::set(const NdxRootBytes& head, PageNumber pages_in_file) {
  PageNumber root = 0;
  PageNumber next_free = 0;
  bool unfinished = false;
  load_ndx_root(head, root, next_free, unfinished);
  head_ = head;
  tree_.set_root(root);
  pages_in_file_ = pages_in_file;
  next_free_ = std::max(next_free, pages_in_file);
  has_grown_ = false;
  cache.set_limit(next_free_);
}

Result NdxStore::take(std::span<PageNumber> pages) {
  if (pages.size() > std::numeric_limits<PageNumber>::max() - next_free_) {
    return fail(block, Result::disk_full, kStore.detail(2));
  }
  for (PageNumber& page : pages) page = next_free_++;
  has_grown_ = true;
  cache.set_limit(next_free_);
  return Result::ok;
}

Result NdxStore::write_header(bool unfinished) {
  store_ndx_root(tree_.root(), next_free_, unfinished, head_);
  const auto outcome = system_file.write_at(0, head_.data(), head_.size());
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kStore.detail(1));
  has_grown_ = false;
  tree_.root_written();
  pages_in_file_ = next_free_;
  return Result::ok;
}

Result NdxStore::read_headers(bool& unfinished) {
  NdxRootBytes head;
  const auto outcome = system_file.read_exactly(0, head.data(), head.size());
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kRefresh.detail(1));
  PageNumber root = 0;
  PageNumber next_free = 0;
  load_ndx_root(head, root, next_free, unfinished);
  PageNumber pages = pages_in_file_;
  if (next_free > pages) {
    PageNumber in_file = 0;
    const Result result = count_ndx_pages(block, system_file, next_free, in_file);
    if (!ok(result)) return result;
    pages = pages == 0 ? in_file : next_free;
  }
  if (unfinished) pages = next_free;  // the log stands there
  if (root < kNdxPageGrid.first || root >= next_free) {
    return fail(block, Result::bad_format, kRefresh.detail(3));
  }
  set(head, pages);
  return Result::ok;
}

Result count_ndx_pages(VqBlock& block, platform::File& file, PageNumber counted,
                       PageNumber& pages) {
  std::uint64_t size = 0;
  std::uint64_t end = 0;
  if (!RedoLog::find_end(file, kNdxPageBytes, counted, size, end)) {
    return fail(block, Result::io, kRefresh.detail(2));
  }
  if (end < counted || end > std::numeric_limits<PageNumber>::max()) {
    return fail(block, Result::bad_format, kRefresh.detail(3));
  }
  pages = static_cast<PageNumber>(end);
  return Result::ok;
}

}  // namespace vqdb::index
