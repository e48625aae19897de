// The keys of a table poured into a tree of an index file, whatever its kind: one by one into the
// sort, in order out of it, and into full pages.
#ifndef VQDBSYS_INDEX_BUILD_TREE_BUILD_H_
#define VQDBSYS_INDEX_BUILD_TREE_BUILD_H_

#include <cstdint>
#include <memory>
#include <string>

#include "expr/expression.h"
#include "frame/progress.h"
#include "frame/result.h"
#include "index/keys/stream_order.h"
#include "index/tree/page_store.h"
#include "index/tree/tree.h"
#include "platform/file.h"
#include "table/table.h"

namespace vqdb::index {

struct ReleaseExpression {
  void operator()(expr::Expression* expression) const { expr::free(*expression); }
};
using ExpressionOwner = std::unique_ptr<expr::Expression, ReleaseExpression>;

// Compiles a key or filter expression against its table.
Result parse_expression(table::Table& table, const std::string& text, ExpressionOwner& expression,
                        expr::ResultShape& shape);

// Where keys come from: all records, or those for which the filter (may be null) is true.
struct KeySource {
  table::Table& table;
  expr::Expression& key;
  expr::Expression* filter;
  std::uint32_t options;  // run options of the key's form
  std::uint32_t count;    // of records
};

// Where they go.
struct TreeTarget {
  platform::File& file;
  const PageGrid& grid;
  PageStore& store;
  const PageLayout& layout;
  const KeyOrder& order;
  StreamOrder stream;
  bool unique;  // of equal keys the first record is taken
};

// Takes two steps of the progress for each record that has a key.
Result build_tree(const KeySource& source, const TreeTarget& target, Progress& progress,
                  PageNumber& root);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_BUILD_TREE_BUILD_H_
