#include "index/ndx_file.h"

#include <algorithm>
#include <limits>

#include "frame/system_file.h"

namespace vqdb::index {
namespace {

constexpr Operation kStore{1023};

}  // namespace

HandlePool<NdxFile>& ndx_files() {
  static HandlePool<NdxFile> pool;
  return pool;
}

void NdxStore::set(PageNumber root, PageNumber next_free, PageNumber pages_in_file) {
  root_ = root;
  pages_in_file_ = pages_in_file;
  next_free_ = std::max(next_free, pages_in_file);
  changed_ = false;
  cache_.set_limit(next_free_);
}

Result NdxStore::write_header() {
  if (!changed_) return Result::ok;
  std::array<Byte, kNdxRootBytes> bytes;
  store_le32(bytes.data(), root_);
  store_le32(bytes.data() + sizeof root_, next_free_);
  const auto outcome = file_.write_at(0, bytes.data(), bytes.size());
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kStore.detail(1));
  changed_ = false;
  pages_in_file_ = next_free_;
  return Result::ok;
}

Result NdxStore::take(std::span<PageNumber> pages) {
  if (pages.size() > std::numeric_limits<PageNumber>::max() - next_free_) {
    return fail(block_, Result::disk_full, kStore.detail(2));
  }
  for (PageNumber& page : pages) page = next_free_++;
  changed_ = true;
  cache_.set_limit(next_free_);
  return Result::ok;
}

void NdxStore::move_root(PageNumber page) {
  root_ = page;
  changed_ = true;
}

}  // namespace vqdb::index
