#include "check/tree_check.h"

#include <algorithm>

#include "check/operations.h"

namespace vqdb::check {
namespace {

using index::Page;
using index::PageNumber;

// No search finds it, nor what stands behind it.
constexpr const char* kNoPlace = "A key that is no number has no place in an order.";

}  // namespace

bool PageUse::take(PageNumber page, std::uint32_t count) {
  const auto begin = used_.begin() + static_cast<std::ptrdiff_t>(page);
  const auto end = begin + static_cast<std::ptrdiff_t>(count);
  if (std::find(begin, end, true) != end) return false;
  std::fill(begin, end, true);
  return true;
}

std::uint64_t PageUse::left() const {
  if (first_ >= used_.size()) return 0;
  return static_cast<std::uint64_t>(
      std::count(used_.begin() + static_cast<std::ptrdiff_t>(first_), used_.end(), false));
}

void TreeCheck::add(std::int32_t code, PageNumber number, const std::string& text) {
  findings_.add(
      code,
      {.offset = std::uint64_t{number} * shape_.unit_bytes, .page = number, .name = shape_.name},
      text);
}

void TreeCheck::refuse(std::int32_t code, PageNumber number, const std::string& text) {
  add(code, number, text);
  sound_ = false;
}

Result TreeCheck::start() {
  leaf_level_ = SIZE_MAX;
  has_low_ = has_last_ = false;
  pages_ = platform::allocate_bytes((index::kMaxDepth + 1) * shape_.layout.page_bytes);
  return pages_ != nullptr ? Result::ok : fail(block_, Result::no_memory, kCheck.detail(3));
}

Result TreeCheck::check_pages(PageUse& use, std::uint32_t records, bool& sound) {
  use_ = &use;
  records_ = records;
  Result result = start();
  if (ok(result)) result = visit(shape_.root, 0, nullptr);
  use_ = nullptr;
  sound = sound_;
  return result;
}

Result TreeCheck::walk(EntrySink& sink) {
  sink_ = &sink;
  const Result result = start();
  return ok(result) ? visit(shape_.root, 0, nullptr) : result;
}

bool TreeCheck::is_page(PageNumber number) const {
  return number >= shape_.first_page && number < shape_.page_end &&
         units() <= shape_.page_end - number;
}

Result TreeCheck::load(PageNumber number, std::size_t level) {
  const std::uint32_t bytes = shape_.layout.page_bytes;
  return reader_.read(std::uint64_t{number} * shape_.unit_bytes, pages_.get() + level * bytes,
                      bytes);
}

Result TreeCheck::visit(PageNumber number, std::size_t level, const Byte* high) {
  if (!is_page(number)) {
    refuse(VQ_F_PAGE_OUTSIDE, number, numbered("The file has no page ", number, " for a tree."));
    return Result::ok;
  }
  if (level >= index::kMaxDepth) {
    refuse(VQ_F_PAGE_LEVEL, number, "The tree has too many levels.");
    return Result::ok;
  }
  if (use_ != nullptr && !use_->take(number, units())) {
    refuse(VQ_F_PAGE_TWICE, number, numbered("More than one place leads to page ", number, "."));
    return Result::ok;
  }
  if (const Result result = load(number, level); !ok(result)) return result;
  const Page page = page_at(level);
  if (!page.is_sound()) {
    refuse(VQ_F_PAGE_COUNT, number, numbered("A page cannot have ", page.count(), " keys."));
    return Result::ok;
  }
  if (const Result result = findings_.proceed(); !ok(result)) return result;
  return page.is_leaf() ? visit_entries(page, number, level, high)
                        : visit_children(page, number, level, high);
}

// Whether all that a child has lies above the separator that leads to its parent: then it is what
// a split that was cut off left behind, and another page leads to the child as well.
Result TreeCheck::is_leftover(PageNumber child, std::size_t level, const Byte* high, bool& yes) {
  yes = false;
  for (std::size_t depth = level; depth < index::kMaxDepth; ++depth) {
    if (!is_page(child)) return Result::ok;
    if (const Result result = load(child, index::kMaxDepth); !ok(result)) return result;
    const Page page = page_at(index::kMaxDepth);
    if (!page.is_sound() || page.count() == 0) return Result::ok;
    if (page.is_leaf()) {
      yes = compare(page.key(0), high) > 0;
      return Result::ok;
    }
    child = page.child(0);
  }
  return Result::ok;
}

Result TreeCheck::visit_children(Page page, PageNumber number, std::size_t level,
                                 const Byte* high) {
  if (page.count() == 0) {
    refuse(VQ_F_PAGE_COUNT, number, "A page that leads to others has no keys.");
    return Result::ok;
  }
  for (std::uint32_t slot = 0; slot <= page.count(); ++slot) {
    const bool is_last = slot == page.count();
    if (slot > 0 && high != nullptr && compare(page.key(slot - 1), high) >= 0) {
      bool leftover = compare(page.key(slot - 1), high) > 0;
      if (!leftover) {
        const Result result = is_leftover(page.child(slot), level + 1, high, leftover);
        if (!ok(result)) return result;
      }
      if (leftover) {
        if (use_ != nullptr) {
          add(VQ_F_PAGE_LEFTOVER, number, "A page leads to pages that a split gave to another.");
        }
        return Result::ok;
      }
    }
    if (!is_last && !shape_.order->has_place(page.key(slot))) {
      refuse(VQ_F_PAGE_ORDER, number, kNoPlace);
      return Result::ok;
    }
    if (slot > 0 && !is_last && compare(page.key(slot), page.key(slot - 1)) < 0) {
      refuse(VQ_F_PAGE_ORDER, number, "The keys of a page are out of order.");
      return Result::ok;
    }
    if (slot > 0) {
      std::copy_n(page.key(slot - 1), shape_.layout.key_length, low_.begin());
      has_low_ = true;
    }
    const Byte* bound = is_last ? high : page.key(slot);
    if (high != nullptr && compare(bound, high) > 0) bound = high;
    const Result result = visit(page.child(slot), level + 1, bound);
    if (!ok(result)) return result;
  }
  return Result::ok;
}

Result TreeCheck::visit_entries(Page page, PageNumber number, std::size_t level, const Byte* high) {
  if (leaf_level_ == SIZE_MAX) leaf_level_ = level;
  if (level != leaf_level_) {
    refuse(VQ_F_PAGE_LEVEL, number, "Not all leaves are on one level.");
    return Result::ok;
  }
  if (page.count() == 0 && level > 0 && use_ != nullptr) {
    add(VQ_F_PAGE_EMPTY, number, "A leaf has no keys.");
  }
  for (std::uint32_t slot = 0; slot < page.count(); ++slot) {
    const Byte* const key = page.key(slot);
    if (high != nullptr && compare(key, high) > 0) {
      if (use_ != nullptr) {
        add(VQ_F_PAGE_LEFTOVER, number, "A leaf has entries that a split gave to another.");
      }
      break;
    }
    const Result result = use_ != nullptr ? check_entry(key, page.recno(slot), number)
                                          : sink_->take(key, page.recno(slot), number);
    if (!ok(result)) return result;
  }
  return Result::ok;
}

Result TreeCheck::check_entry(const Byte* key, std::uint32_t recno, PageNumber number) {
  if (!shape_.order->has_place(key)) refuse(VQ_F_PAGE_ORDER, number, kNoPlace);
  const int order = has_last_ ? compare(last_.data(), key) : -1;
  if (order > 0 || (has_low_ && compare(low_.data(), key) > 0)) {
    refuse(VQ_F_PAGE_ORDER, number, "The keys of the leaves are out of order.");
  }
  if (order == 0 && shape_.unique) {
    add(VQ_F_KEY_TWICE, number, "A unique index holds a key twice.");
  }
  if (recno == 0 || recno > records_) {
    findings_.add(VQ_F_ENTRY_RECORD,
                  {.offset = std::uint64_t{number} * shape_.unit_bytes,
                   .record = recno,
                   .page = number,
                   .name = shape_.name},
                  numbered("An entry is for record ", recno, ", which the table does not have."));
  }
  std::copy_n(key, shape_.layout.key_length, last_.begin());
  has_last_ = true;
  return findings_.proceed();
}

}  // namespace vqdb::check
