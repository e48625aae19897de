#include "support/ndx_checker.h"

#include <algorithm>
#include <cstring>

#include "support/files.h"

namespace vqdb::testing {
namespace {

constexpr std::size_t kPage = 512;
constexpr std::uint32_t kDeepest = 40;

class Reader {
 public:
  explicit Reader(const std::string& file_name) : bytes_(read_file(file_name)) {}

  NdxTree run() {
    if (bytes_.size() < 2 * kPage) {
      fault("the file is shorter than two pages");
      return tree_;
    }
    tree_.root = number(0, 4);
    tree_.next_free = number(4, 4);
    is_text_ = bytes_[16] == 0;
    key_length_ = number(12, 2);
    max_keys_ = number(14, 2);
    stride_ = number(18, 2);
    if (stride_ < key_length_ + 8 || 8 + max_keys_ * stride_ > kPage || max_keys_ == 0) {
      fault("the header's sizes do not fit");
      return tree_;
    }
    if (tree_.next_free * kPage > bytes_.size()) fault("the file lacks pages of its header");
    used_.assign(bytes_.size() / kPage, false);
    std::string last;
    visit(tree_.root, 1, last);
    for (std::uint32_t page = 1; page < std::min<std::size_t>(tree_.next_free, used_.size());
         ++page) {
      if (!used_[page]) ++tree_.orphans;
    }
    return tree_;
  }

 private:
  void fault(const std::string& text) { tree_.faults.push_back(text); }
  void fault(std::uint32_t page, const std::string& text) {
    fault("page " + std::to_string(page) + ": " + text);
  }

  std::uint32_t number(std::size_t at, std::size_t width) const {
    std::uint32_t value = 0;
    for (std::size_t i = width; i-- > 0;) {
      value = value << 8 | static_cast<unsigned char>(bytes_[at + i]);
    }
    return value;
  }

  bool above(const std::string& a, const std::string& b) const {
    if (is_text_) return a > b;
    double x = 0;
    double y = 0;
    std::memcpy(&x, a.data(), sizeof x);
    std::memcpy(&y, b.data(), sizeof y);
    return x > y;
  }

  void take_entry(std::uint32_t page, const std::string& key, std::uint32_t recno) {
    if (!tree_.entries.empty() && above(tree_.entries.back().first, key)) {
      fault(page, "keys out of order");
    }
    if (recno == 0) fault(page, "leaf entry with record number 0");
    tree_.entries.emplace_back(key, recno);
  }

  // Walks the page and all below it; `last` becomes the last key.
  void visit(std::uint32_t page, std::uint32_t level, std::string& last) {
    if (page == 0 || page >= tree_.next_free || page >= used_.size()) {
      return fault(page, "lies outside the file");
    }
    if (used_[page]) return fault(page, "is used twice");
    if (level > kDeepest) return fault(page, "lies too deep");
    used_[page] = true;
    const std::size_t start = page * kPage;
    const std::uint32_t count = number(start, 2);
    if (count > max_keys_ || number(start, 4) != count) return fault(page, "has a wild count");
    const std::uint32_t trailing = number(start + 4 + count * stride_, 4);
    if (count == 0) {
      if (page != tree_.root || trailing != 0) fault(page, "is empty");
      tree_.depth = level;
      return;
    }
    if (trailing == 0) {
      if (tree_.depth != 0 && tree_.depth != level) fault(page, "is a leaf on another level");
      tree_.depth = level;
    }
    for (std::uint32_t slot = 0; slot < count; ++slot) {
      const std::size_t at = start + 4 + slot * stride_;
      const std::uint32_t child = number(at, 4);
      const std::uint32_t recno = number(at + 4, 4);
      const std::string key = bytes_.substr(at + 8, key_length_);
      if (trailing == 0) {
        if (child != 0) fault(page, "leaf entry with a child");
        take_entry(page, key, recno);
        last = key;
        continue;
      }
      if (recno != 0) fault(page, "separator with a record number");
      visit(child, level + 1, last);
      if (last != key) fault(page, "separator that is not the last key below");
    }
    if (trailing != 0) visit(trailing, level + 1, last);
  }

  const std::string bytes_;
  NdxTree tree_;
  std::vector<bool> used_;
  bool is_text_ = true;
  std::uint32_t key_length_ = 0;
  std::uint32_t max_keys_ = 0;
  std::uint32_t stride_ = 0;
};

}  // namespace

std::vector<NdxEntry> NdxTree::sorted() const {
  std::vector<NdxEntry> result = entries;
  std::sort(result.begin(), result.end());
  return result;
}

std::string NdxTree::all_faults() const {
  std::string text;
  for (const std::string& fault : faults) text += fault + '\n';
  return text;
}

NdxTree read_ndx(const std::string& file_name) { return Reader(file_name).run(); }

}  // namespace vqdb::testing
