#include "support/mdx_checker.h"

namespace vqdb::testing {
namespace {

constexpr std::size_t kUnit = 512;
constexpr std::size_t kTable = 512;
constexpr std::uint32_t kFirstBlock = 4;

// Sign, exponent, digits; the count of digits in byte 1 does not matter.
int compare_packed(const std::string& a, const std::string& b) {
  const auto sign = [](const std::string& key) {
    if (key.find_first_not_of('\0', 2) == std::string::npos) return 0;
    return (key[1] & 0x80) != 0 ? -1 : 1;
  };
  if (sign(a) != sign(b)) return sign(a) - sign(b);
  const auto magnitude = [](const std::string& key) { return key.substr(0, 1) + key.substr(2); };
  return sign(a) * magnitude(a).compare(magnitude(b));
}

class Reader {
 public:
  explicit Reader(const std::string& file_name) : bytes_(read_file(file_name)) {}

  MdxReport run() {
    report_.pages = number(32, 4);
    report_.block_pages = number(20, 2);
    const std::uint32_t tags = number(28, 2);
    if (bytes_.size() < kFirstBlock * kUnit || bytes_[0] != 2 || number(25, 1) != 48 ||
        number(26, 1) != 32 || number(22, 2) != report_.block_pages * kUnit ||
        report_.block_pages < 2 || report_.block_pages > 32 || tags > 47 ||
        report_.pages * kUnit > bytes_.size()) {
      fault("the header's sizes do not fit");
      return report_;
    }
    for (std::uint32_t number = 1; number <= tags; ++number) read_tag(number);
    check_threads(tags);
    read_free_list();
    for (std::uint32_t page = kFirstBlock; page < report_.pages; page += report_.block_pages) {
      if (!owners_.contains(page)) report_.orphans.push_back(page);
    }
    return report_;
  }

 private:
  void fault(const std::string& text) { report_.faults.push_back(text); }
  std::uint32_t number(std::size_t at, std::size_t width) const {
    return number_at(bytes_, at, width);
  }
  std::string text(std::size_t at) const { return bytes_.c_str() + at; }
  std::size_t entry(std::uint32_t number) const { return kTable + 32 * number; }

  void own(std::uint32_t page, const std::string& owner) {
    if ((page - kFirstBlock) % report_.block_pages != 0) {
      fault(owner + ": page " + std::to_string(page) + " is not on a block");
    }
    const auto [place, fresh] = owners_.emplace(page, owner);
    if (!fresh) {
      fault("page " + std::to_string(page) + " is in " + place->second + " and in " + owner);
    }
  }

  void read_tag(std::uint32_t number_of_tag) {
    MdxTag tag;
    const std::size_t at = entry(number_of_tag);
    tag.header_page = number(at, 4);
    tag.name = text(at + 4);
    const std::size_t head = std::size_t{tag.header_page} * kUnit;
    if (tag.header_page < kFirstBlock || head + report_.block_pages * kUnit > bytes_.size()) {
      return fault(tag.name + ": header outside the file");
    }
    own(tag.header_page, tag.name);
    const std::uint32_t bits = number(head + 8, 1);
    tag.type = bytes_[head + 9];
    tag.key_length = number(head + 12, 2);
    tag.descending = (bits & 0x08) != 0;
    tag.unique = (bits & 0x40) != 0;
    tag.key = text(head + 24);
    if ((bits & 0x20) != 0) tag.filter = text(head + 762);
    if (bits != number(at + 15, 1) || ((bits & 0x10) != 0) != (tag.type == 'C') ||
        (number(head + 23, 1) == 0x40) != tag.unique ||
        (number(head + 245, 1) == 1) == tag.filter.empty()) {
      fault(tag.name + ": flags contradict each other");
    }
    read_tree_of(tag, head);
    report_.tags.push_back(tag);
  }

  void read_tree_of(MdxTag& tag, std::size_t head) {
    TreeShape shape;
    shape.page_units = report_.block_pages;
    shape.first_page = kFirstBlock;
    shape.pages = report_.pages;
    shape.left_at = 4;
    shape.entries_at = 8;
    shape.recno_at = 0;
    shape.key_at = 4;
    shape.stride = number(head + 18, 2);
    shape.key_length = tag.key_length;
    shape.max_keys = number(head + 14, 2);
    shape.compare = [&](const std::string& a, const std::string& b) {
      const int order = compare_mdx_keys(tag.type, a, b);
      return tag.descending ? -order : order;
    };
    const std::uint32_t room = report_.block_pages * 512;
    if (shape.stride < tag.key_length + 4 || shape.max_keys == 0 ||
        8 + shape.max_keys * shape.stride + 4 > room) {
      return fault(tag.name + ": the header's sizes do not fit");
    }
    static_cast<TreeReport&>(tag) = read_tree(bytes_, number(head, 4), shape);
    for (const std::string& inner : tag.faults) fault(tag.name + ": " + inner);
    for (const std::uint32_t page : tag.used) own(page, tag.name);
    if (number(head + 4, 4) != (tag.used.size() + 1) * report_.block_pages) {
      fault(tag.name + ": counts " + std::to_string(number(head + 4, 4)) + " pages, has " +
            std::to_string((tag.used.size() + 1) * report_.block_pages));
    }
    for (std::size_t i = 1; tag.unique && i < tag.entries.size(); ++i) {
      if (shape.compare(tag.entries[i - 1].first, tag.entries[i].first) == 0) {
        fault(tag.name + ": a unique key twice");
      }
    }
  }

  // Walks the threads in the order of the names; `names` becomes them.
  void walk_threads(std::uint32_t at, std::uint32_t parent, std::vector<std::string>& names) {
    if (at == 0 || names.size() > 47) return;
    if (at > report_.tags.size()) return fault("a thread leads to no tag");
    if (number(entry(at) + 18, 1) != parent) fault("a thread's parent is another one");
    walk_threads(number(entry(at) + 16, 1), at, names);
    names.push_back(text(entry(at) + 4));
    walk_threads(number(entry(at) + 17, 1), at, names);
  }

  void check_threads(std::uint32_t tags) {
    std::vector<std::string> names;
    walk_threads(number(entry(0) + 17, 1), 0, names);
    if (names.size() != tags || !std::is_sorted(names.begin(), names.end())) {
      fault("the threads do not lead through all names in order");
    }
  }

  void read_free_list() {
    for (std::uint32_t page = number(36, 4); page != 0; page = number(page * kUnit + 4, 4)) {
      if (page < kFirstBlock || page + report_.block_pages > report_.pages) {
        return fault("the free list leaves the file");
      }
      own(page, "the free list");
      report_.free.push_back(page);
      if (report_.free.size() > report_.pages) return fault("the free list runs in a circle");
    }
    if (number(40, 4) != report_.free.size()) fault("the free list has another count");
  }

  const std::string bytes_;
  MdxReport report_;
  std::map<std::uint32_t, std::string> owners_;
};

}  // namespace

int compare_mdx_keys(char type, const std::string& a, const std::string& b) {
  if (type == 'N') return compare_packed(a, b);
  if (type != 'D') return a.compare(b);
  double x = 0, y = 0;
  std::memcpy(&x, a.data(), sizeof x);
  std::memcpy(&y, b.data(), sizeof y);
  return (x > y) - (x < y);
}

MdxTag MdxReport::tag(const std::string& name) const {
  const auto found = std::ranges::find(tags, name, &MdxTag::name);
  return found != tags.end() ? *found : MdxTag{};
}

std::string MdxReport::all_faults() const {
  std::string text;
  for (const std::string& fault : faults) text += fault + '\n';
  return text;
}

MdxReport read_mdx(const std::string& file_name) { return Reader(file_name).run(); }

}  // namespace vqdb::testing
