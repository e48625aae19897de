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

void NdxStore::set(PageNumber root, PageNumber next_free, PageNumber pages_in_file) {
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

Result NdxStore::write_roots() {
  if (!has_grown_ && !tree_.root_moved()) return Result::ok;
  std::array<Byte, kNdxRootBytes> bytes;
  store_le32(bytes.data(), tree_.root());
  store_le32(bytes.data() + sizeof(PageNumber), next_free_);
  const auto outcome = system_file.write_at(0, bytes.data(), bytes.size());
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kStore.detail(1));
  has_grown_ = false;
  tree_.root_written();
  pages_in_file_ = next_free_;
  return Result::ok;
}

Result NdxStore::read_headers() {
  std::array<Byte, kNdxRootBytes> bytes;
  const auto outcome = system_file.read_exactly(0, bytes.data(), bytes.size());
  if (!outcome.ok()) return fail(block, transfer_result(outcome), kRefresh.detail(1));
  const PageNumber root = load_le32(bytes.data());
  const PageNumber next_free = load_le32(bytes.data() + sizeof root);
  PageNumber pages = pages_in_file_;
  if (next_free > pages) {
    std::uint64_t size = 0;
    const auto sized = system_file.size(size);
    if (!sized.ok()) return fail(block, Result::io, kRefresh.detail(2));
    if (next_free > (size + kNdxPageBytes - 1) / kNdxPageBytes) {
      return fail(block, Result::bad_format, kRefresh.detail(3));
    }
    pages = next_free;
  }
  if (root < kNdxPageGrid.first || root >= next_free) {
    return fail(block, Result::bad_format, kRefresh.detail(3));
  }
  set(root, next_free, pages);
  return Result::ok;
}

}  // namespace vqdb::index
