#include "support/tree_checker.h"

namespace vqdb::testing {
namespace {

constexpr std::size_t kUnit = 512;
constexpr std::uint32_t kDeepest = 40;

class Reader {
 public:
  Reader(const std::string& bytes, const TreeShape& shape) : bytes_(bytes), shape_(shape) {}

  TreeReport run(std::uint32_t root) {
    report_.root = root;
    std::string last;
    visit(root, 1, last);
    report_.used.assign(used_.begin(), used_.end());
    return std::move(report_);
  }

 private:
  void fault(std::uint32_t page, const std::string& text) {
    report_.faults.push_back("page " + std::to_string(page) + ": " + text);
  }
  std::uint32_t number(std::size_t at, std::size_t width = 4) const {
    return number_at(bytes_, at, width);
  }

  void take_entry(std::uint32_t page, const std::string& key, std::uint32_t recno) {
    if (!report_.entries.empty() && shape_.compare(report_.entries.back().first, key) > 0) {
      fault(page, "keys out of order");
    }
    if (recno == 0) fault(page, "leaf entry with record number 0");
    report_.entries.emplace_back(key, recno);
  }

  // Walks the page and all below it; `last` becomes the last key.
  void visit(std::uint32_t page, std::uint32_t level, std::string& last) {
    const std::size_t start = std::size_t{page} * kUnit;
    const std::uint32_t end =
        std::min(shape_.pages, static_cast<std::uint32_t>(bytes_.size() / kUnit));
    if (page < shape_.first_page || page > end || end - page < shape_.page_units) {
      return fault(page, "lies outside the file");
    }
    if (!used_.insert(page).second) return fault(page, "is used twice");
    if (level > kDeepest) return fault(page, "lies too deep");
    left_.resize(std::max<std::size_t>(left_.size(), level + 1));
    const std::uint32_t left = shape_.left_at != 0 ? number(start + shape_.left_at) : 0;
    if (left != 0 && left != left_[level]) fault(page, "names another page as its left neighbour");
    report_.neighbours.emplace_back(page, left_[level]);
    left_[level] = page;
    const std::uint32_t count = number(start, 2);
    if (count > shape_.max_keys || number(start) != count) return fault(page, "has a wild count");
    const auto entry = [&](std::uint32_t slot) {
      return start + shape_.entries_at + slot * shape_.stride;
    };
    const std::uint32_t trailing = number(entry(count));
    if (count == 0) {
      if (page != report_.root || trailing != 0) fault(page, "is empty");
      report_.depth = level;
      return;
    }
    if (trailing == 0) {
      if (report_.depth != 0 && report_.depth != level) fault(page, "is a leaf on another level");
      report_.depth = level;
    }
    const bool shared_place = shape_.recno_at == 0;
    for (std::uint32_t slot = 0; slot < count; ++slot) {
      const std::uint32_t child = number(entry(slot));
      const std::uint32_t recno = number(entry(slot) + shape_.recno_at);
      const std::string key = bytes_.substr(entry(slot) + shape_.key_at, shape_.key_length);
      if (trailing == 0) {
        if (child != 0 && !shared_place) fault(page, "leaf entry with a child");
        take_entry(page, key, recno);
        last = key;
        continue;
      }
      if (recno != 0 && !shared_place) fault(page, "separator with a record number");
      visit(child, level + 1, last);
      if (last != key) fault(page, "separator that is not the last key below");
    }
    if (trailing != 0) visit(trailing, level + 1, last);
  }

  const std::string& bytes_;
  const TreeShape& shape_;
  TreeReport report_;
  std::set<std::uint32_t> used_;
  std::vector<std::uint32_t> left_;  // by level, the page last visited
};

}  // namespace

std::uint32_t number_at(const std::string& bytes, std::size_t at, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t i = width; i-- > 0;) {
    value = value << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0u);
  }
  return value;
}

std::vector<IndexEntry> TreeReport::sorted() const {
  std::vector<IndexEntry> result = entries;
  std::sort(result.begin(), result.end());
  return result;
}

std::string TreeReport::all_faults() const {
  std::string text;
  for (const std::string& fault : faults) text += fault + '\n';
  return text;
}

TreeReport read_tree(const std::string& bytes, std::uint32_t root, const TreeShape& shape) {
  return Reader(bytes, shape).run(root);
}

}  // namespace vqdb::testing
