#include "index/tree/leaf_removal.h"

namespace vqdb::index {
namespace {

constexpr Operation kLeafRemoval{1022};

// Takes a child out of an interior page. Without the trailing child, the last entry's child
// becomes the trailing one and its key goes.
void remove_child(Page page, std::uint32_t slot) {
  if (slot < page.count()) {
    page.remove_entry(slot);
  } else {
    page.set_count(page.count() - 1);
  }
}

}  // namespace

Result LeafRemoval::run(Tree& tree, const Path& path) {
  LeafRemoval removal(tree, path);
  Result result = removal.plan();
  if (ok(result)) result = removal.reserve_numbers();
  if (ok(result)) removal.apply();
  return result;
}

Result LeafRemoval::hold(PageNumber number, PageCache::Frame& frame) {
  const Result result = tree_.fetch(number, frame);
  if (ok(result)) pins_.hold(frame);
  return result;
}

Result LeafRemoval::plan() {
  if (const Result result = tree_.forget_left(path_, path_.depth - 1, 1); !ok(result)) {
    return result;
  }
  if (const Result result = hold(path_.leaf().page, leaf_); !ok(result)) return result;
  std::uint32_t level = bottom();
  if (const Result result = hold(path_.steps[level].page, pages_[level]); !ok(result)) {
    return result;
  }
  const Page parent = tree_.page(pages_[level]);
  if (path_.steps[level].slot == parent.count()) {
    has_new_last_ = true;
    std::memcpy(new_last_.data(), parent.key(parent.count() - 1), tree_.layout_.key_length);
  }
  bool takes_last_along = has_new_last_;
  while (tree_.page(pages_[level]).count() == 1) {
    if (level == 0) {
      root_gives_way_ = true;
      return Result::ok;
    }
    Collapse& collapse = collapses_[collapse_count_];
    if (const Result result = plan_collapse(level, collapse); !ok(result)) return result;
    ++collapse_count_;
    --level;
    takes_last_along = takes_last_along && !collapse.neighbour_is_right;
    if (collapse.borrows) break;
  }
  top_ = level;
  return takes_last_along ? plan_separator(level) : Result::ok;
}

Result LeafRemoval::plan_collapse(std::uint32_t level, Collapse& collapse) {
  const Path::Step& upper = path_.steps[level - 1];
  if (const Result result = hold(upper.page, pages_[level - 1]); !ok(result)) return result;
  const Page parent = tree_.page(pages_[level - 1]);
  collapse.neighbour_is_right = upper.slot < parent.count();
  collapse.neighbour_number =
      parent.child(collapse.neighbour_is_right ? upper.slot + 1 : upper.slot - 1);
  if (const Result result = hold(collapse.neighbour_number, collapse.neighbour); !ok(result)) {
    return result;
  }
  const Page neighbour = tree_.page(collapse.neighbour);
  if (neighbour.count() == 0 || neighbour.is_leaf() ||
      collapse.neighbour_number == path_.steps[level].page) {
    return fail(tree_.block_, Result::page_error, kLeafRemoval.detail(1));
  }
  collapse.borrows = neighbour.is_full();
  // Behind the last of the pages that another one takes the place of.
  if (!collapse.neighbour_is_right || !collapse.borrows) {
    const std::uint32_t places = collapse.neighbour_is_right ? 2 : 1;
    if (const Result result = tree_.forget_left(path_, level, places); !ok(result)) return result;
  }
  if (const Result result = tree_.cache_.fetch_new(collapse.fresh); !ok(result)) return result;
  pins_.hold(collapse.fresh);
  return Result::ok;
}

Result LeafRemoval::plan_separator(std::uint32_t level) {
  const Result result =
      tree_.find_separator(path_, level, separator_level_, separator_page_, has_separator_);
  if (ok(result) && has_separator_) pins_.hold(separator_page_);
  return result;
}

Result LeafRemoval::reserve_numbers() {
  return collapse_count_ == 0 ? Result::ok
                              : tree_.store_.take(std::span(numbers_).first(collapse_count_));
}

void LeafRemoval::give_up(PageCache::Frame frame, PageNumber number) {
  tree_.cache_.abandon(frame);
  tree_.store_.release(number);
}

void LeafRemoval::apply() {
  remove_child(tree_.page(pages_[bottom()]), path_.steps[bottom()].slot);
  give_up(leaf_, path_.leaf().page);
  for (std::size_t i = 0; i < collapse_count_; ++i) {
    apply_collapse(bottom() - static_cast<std::uint32_t>(i), i);
  }
  if (root_gives_way_) {
    const PageNumber root = tree_.page(pages_[0]).child(0);
    give_up(pages_[0], path_.steps[0].page);
    tree_.move_root(root);
    return;
  }
  tree_.cache_.mark_joint(pages_[top_], height(top_));
  if (!has_separator_) return;
  tree_.page(separator_page_).set_key(path_.steps[separator_level_].slot, new_last_.data());
  tree_.cache_.mark_joint(separator_page_, height(separator_level_));
}

void LeafRemoval::apply_collapse(std::uint32_t level, std::size_t index) {
  const Collapse& collapse = collapses_[index];
  const PageNumber child = tree_.page(pages_[level]).child(0);
  const Page parent = tree_.page(pages_[level - 1]);
  const std::uint32_t slot = path_.steps[level - 1].slot;
  if (collapse.neighbour_is_right) {
    hand_right(parent, slot, child, index);
  } else {
    hand_left(parent, slot, child, index);
  }
  give_up(pages_[level], path_.steps[level].page);
  if (collapse.borrows) {
    tree_.cache_.mark_joint(collapse.neighbour, height(level));
  } else {
    give_up(collapse.neighbour, collapse.neighbour_number);
  }
  tree_.cache_.name_new(collapse.fresh, numbers_[index], height(level));
}

void LeafRemoval::hand_right(Page parent, std::uint32_t slot, PageNumber child, std::size_t index) {
  Page neighbour = tree_.page(collapses_[index].neighbour);
  Page fresh = tree_.page(collapses_[index].fresh);
  const Byte* last = has_new_last_ ? new_last_.data() : parent.key(slot);
  if (collapses_[index].borrows) {
    fresh.set_child(0, neighbour.child(0));
    fresh.insert_child_entry(0, child, last);
    parent.set_key(slot, neighbour.key(0));
    neighbour.remove_entry(0);
  } else {
    fresh.copy_from(neighbour);
    fresh.insert_child_entry(0, child, last);
    remove_child(parent, slot);
  }
  parent.set_child(slot, numbers_[index]);
  has_new_last_ = false;
}

void LeafRemoval::hand_left(Page parent, std::uint32_t slot, PageNumber child, std::size_t index) {
  Page neighbour = tree_.page(collapses_[index].neighbour);
  Page fresh = tree_.page(collapses_[index].fresh);
  const Byte* separator = parent.key(slot - 1);
  const std::uint32_t count = neighbour.count();
  if (collapses_[index].borrows) {
    fresh.set_child(0, child);
    fresh.insert_child_entry(0, neighbour.child(count), separator);
    parent.set_key(slot - 1, neighbour.key(count - 1));
    parent.set_child(slot, numbers_[index]);
    neighbour.set_count(count - 1);
  } else {
    fresh.copy_from(neighbour);
    fresh.insert_child_entry(count, neighbour.child(count), separator);
    fresh.set_child(count + 1, child);
    remove_child(parent, slot);
    parent.set_child(slot - 1, numbers_[index]);
  }
}

}  // namespace vqdb::index
