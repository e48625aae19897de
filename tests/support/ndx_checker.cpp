#include "support/ndx_checker.h"

namespace vqdb::testing {
namespace {

constexpr std::size_t kPage = 512;

int compare_doubles(const std::string& a, const std::string& b) {
  double x = 0, y = 0;
  std::memcpy(&x, a.data(), sizeof x);
  std::memcpy(&y, b.data(), sizeof y);
  return (x > y) - (x < y);
}

}  // namespace

NdxTree read_ndx(const std::string& file_name) {
  const std::string bytes = read_file(file_name);
  NdxTree tree;
  TreeShape shape;
  shape.pages = tree.next_free = number_at(bytes, 4, 4);
  shape.key_length = number_at(bytes, 12, 2);
  shape.max_keys = number_at(bytes, 14, 2);
  shape.stride = number_at(bytes, 18, 2);
  if (number_at(bytes, 16, 1) == 0) {
    shape.compare = [](const std::string& a, const std::string& b) { return a.compare(b); };
  } else {
    shape.compare = compare_doubles;
  }
  if (bytes.size() < 2 * kPage || shape.stride < shape.key_length + 8 ||
      8 + shape.max_keys * shape.stride > kPage || shape.max_keys == 0) {
    tree.faults.emplace_back("the header's sizes do not fit");
    return tree;
  }
  static_cast<TreeReport&>(tree) = read_tree(bytes, number_at(bytes, 0, 4), shape);
  if (tree.next_free * kPage > bytes.size()) {
    tree.faults.emplace_back("the file lacks pages of its header");
  }
  tree.orphans = tree.next_free - 1 - static_cast<std::uint32_t>(tree.used.size());
  return tree;
}

}  // namespace vqdb::testing
