#include "index/tree/page_pour.h"

#include <limits>

#include "frame/system_file.h"

namespace vqdb::index {
namespace {

constexpr Operation kPour{1028};

constexpr std::size_t kBufferBytes = std::size_t{256} << 10;

}  // namespace

Result NewFileStore::take(std::span<PageNumber> pages) {
  for (PageNumber& page : pages) {
    if (next_ > std::numeric_limits<PageNumber>::max() - grid_.step()) {
      return fail(block_, Result::disk_full, kPour.detail(5));
    }
    page = next_;
    next_ += grid_.step();
  }
  return Result::ok;
}

Result PagePour::start() {
  buffer_bytes_ = kBufferBytes / layout_.page_bytes * layout_.page_bytes;
  buffer_ = platform::allocate_bytes(buffer_bytes_);
  levels_.reserve(kMaxDepth);  // so that levels stay where they are
  if (buffer_ == nullptr) return fail(block_, Result::no_memory, kPour.detail(2));
  return add_level();
}

Result PagePour::add_level() {
  if (levels_.size() == kMaxDepth) return fail(block_, Result::page_error, kPour.detail(4));
  Level level;
  level.images = platform::allocate_bytes(2 * layout_.page_bytes);
  if (level.images == nullptr) return fail(block_, Result::no_memory, kPour.detail(2));
  levels_.push_back(std::move(level));
  return Result::ok;
}

Result PagePour::add(std::uint32_t recno, const Byte* key) {
  Page leaf = current(levels_.front());
  if (leaf.is_full()) {
    std::array<Byte, kMaxKeyLength> last;
    std::memcpy(last.data(), leaf.key(leaf.count() - 1), layout_.key_length);
    PageNumber number = 0;
    if (const Result result = emit(levels_.front(), number); !ok(result)) return result;
    if (const Result result = add_child(1, number, last.data()); !ok(result)) return result;
  }
  leaf.insert_leaf_entry(leaf.count(), recno, key);
  return Result::ok;
}

// The new child becomes the trailing one; the one before it gets its last key as separator.
Result PagePour::add_child(std::size_t index, PageNumber child, const Byte* last_key) {
  if (index == levels_.size()) {
    if (const Result result = add_level(); !ok(result)) return result;
  }
  Level& level = levels_[index];
  Page page = current(level);
  if (level.has_child && page.is_full()) {
    PageNumber number = 0;
    if (const Result result = emit(level, number); !ok(result)) return result;
    const std::array<Byte, kMaxKeyLength> last = level.last_key;
    if (const Result result = add_child(index + 1, number, last.data()); !ok(result)) {
      return result;
    }
  } else if (level.has_child) {
    page.insert_child_entry(page.count(), page.child(page.count()), level.last_key.data());
  }
  page.set_child(page.count(), child);
  level.has_child = true;
  std::memcpy(level.last_key.data(), last_key, layout_.key_length);
  return Result::ok;
}

// Writes the current page and begins the next one.
Result PagePour::emit(Level& level, PageNumber& number) {
  if (const Result result = store_.take({&number, 1}); !ok(result)) return result;
  const auto buffered = static_cast<PageNumber>(used_ / grid_.unit_bytes);
  if (used_ == buffer_bytes_ || number != buffer_start_ + buffered) {
    if (const Result result = write_buffer(); !ok(result)) return result;
    buffer_start_ = number;
  }
  Byte* const image = level.images.get();
  std::memcpy(buffer_.get() + used_, image, layout_.page_bytes);
  used_ += layout_.page_bytes;
  previous(level).copy_from(current(level));
  level.previous_number = number;
  std::memset(image, 0, layout_.page_bytes);
  return Result::ok;
}

Result PagePour::write_buffer() {
  if (used_ == 0) return Result::ok;
  if (const Result result = store_.write_taken(); !ok(result)) return result;
  const Result result = write_at(buffer_start_, buffer_.get(), used_);
  used_ = 0;
  return result;
}

Result PagePour::write_at(PageNumber page, const Byte* bytes, std::size_t size) {
  const auto outcome = file_.write_at(std::uint64_t{page} * grid_.unit_bytes, bytes, size);
  return outcome.ok() ? Result::ok : fail(block_, transfer_result(outcome), kPour.detail(3));
}

// A last page with a single child takes another one over from the page before it, whose last key
// changes with that.
Result PagePour::mend_last_page(std::size_t index) {
  Level& level = levels_[index];
  Page page = current(level);
  if (page.count() > 0 || level.previous_number == 0) return Result::ok;
  Page before = previous(level);
  Level& upper = levels_[index + 1];
  const std::uint32_t last = before.count() - 1;
  page.insert_child_entry(0, before.child(before.count()), upper.last_key.data());
  std::memcpy(upper.last_key.data(), before.key(last), layout_.key_length);
  before.set_count(last);
  return write_at(level.previous_number, level.images.get() + layout_.page_bytes,
                  layout_.page_bytes);
}

Result PagePour::finish(PageNumber& root) {
  for (std::size_t index = 0;; ++index) {
    Level& level = levels_[index];
    const bool is_top = index + 1 == levels_.size();
    if (index > 0) {
      if (const Result result = write_buffer(); !ok(result)) return result;
      if (const Result result = mend_last_page(index); !ok(result)) return result;
    }
    const Page page = current(level);
    if (is_top && index > 0 && page.count() == 0) {
      root = page.child(0);
      break;
    }
    std::array<Byte, kMaxKeyLength> last = level.last_key;
    if (index == 0 && page.count() > 0) {
      std::memcpy(last.data(), page.key(page.count() - 1), layout_.key_length);
    }
    if (const Result result = emit(level, root); !ok(result)) return result;
    if (is_top) break;
    if (const Result result = add_child(index + 1, root, last.data()); !ok(result)) return result;
  }
  return write_buffer();
}

}  // namespace vqdb::index
