#include "check/key_tree_check.h"

#include <limits>
#include <memory>

#include "check/key_comparison.h"
#include "expr/expression.h"
#include "index/keys/key_feed.h"
#include "index/keys/stream_entries.h"

namespace vqdb::check {
namespace {

struct FreeExpression {
  void operator()(expr::Expression* expression) const { expr::free(*expression); }
};
using Expression = std::unique_ptr<expr::Expression, FreeExpression>;

bool is_number_type(char type) { return type == 'N' || type == 'F' || type == 'D'; }

// An NDX file of the dBASE III form does not tell dates from numbers, and MDX files not floats.
bool gives(char expression_type, char key_type) {
  return expression_type == key_type ||
         (is_number_type(expression_type) && is_number_type(key_type));
}

class Comparison {
 public:
  Comparison(VqBlock& block, ChunkReader& reader, const KeyTree& tree, const IndexedTable& table,
             FileFindings& findings, Progress& progress)
      : block_(block),
        reader_(reader),
        tree_(tree),
        table_(table),
        findings_(findings),
        progress_(progress) {}

  Result run() {
    bool fits = true;
    Result result = compile(tree_.key, key_, key_shape_, fits);
    if (ok(result) && fits && !tree_.filter.empty()) {
      expr::ResultShape shape;
      result = compile(tree_.filter, filter_, shape, fits);
      if (ok(result) && fits && shape.type != 'L')
        fits = refuse("The filter is not logical: " + tree_.filter);
    }
    if (!ok(result) || !fits) return result;
    if (!gives(key_shape_.type, tree_.key_type)) {
      findings_.add(VQ_F_INDEX_TYPE, place(),
                    "The key expression gives keys of another type: " + tree_.key);
      return Result::ok;
    }
    return compare();
  }

 private:
  Place place() const { return {.name = tree_.shape.name}; }

  bool refuse(const std::string& text) {
    findings_.add(VQ_F_INDEX_EXPRESSION, place(), text);
    return false;
  }

  Result compile(const std::string& text, Expression& out, expr::ResultShape& shape, bool& fits) {
    expr::Expression* parsed = nullptr;
    const Result result = expr::parse(block_, text.c_str(), {.table = table_.table}, parsed, shape);
    out.reset(parsed);
    if (result == Result::no_memory) return result;
    if (!ok(result)) fits = refuse("An expression cannot be compiled for the table: " + text);
    return Result::ok;
  }

  Result compare() {
    const std::uint32_t length = tree_.shape.layout.key_length;
    const char type = tree_.key_type == 'D' ? 'T' : tree_.key_type;
    const index::StreamSpec spec = {tree_.descending, type, length, false};
    const index::StreamEntries entries(
        *index::stream_order(tree_.family, spec, block_.language == 1), length);
    sort::ExternalSort sort(block_, entries, index::kEntryHead + length, progress_);
    index::KeyFeed feed(*table_.table, *key_, tree_.run_options, length, filter_.get());
    Result result = sort.start();
    if (ok(result)) result = feed.run(table_.count, sort, progress_);
    if (result == Result::out_of_range || result == Result::operand) {
      findings_.add(VQ_F_NOT_COMPARED, place(),
                    "The keys were not compared: not every record makes one by " + tree_.key);
      return Result::ok;
    }
    if (ok(result)) result = sort.finish();
    TreeCheck tree(block_, reader_, findings_, tree_.shape);
    KeyComparison comparison(tree_.shape, sort, table_.count, findings_, progress_);
    if (ok(result)) result = comparison.start();
    if (ok(result)) result = tree.walk(comparison);
    return ok(result) ? comparison.finish() : result;
  }

  VqBlock& block_;
  ChunkReader& reader_;
  const KeyTree& tree_;
  const IndexedTable& table_;
  FileFindings& findings_;
  Progress& progress_;
  Expression key_;
  Expression filter_;
  expr::ResultShape key_shape_;
};

}  // namespace

Result check_key_tree(VqBlock& block, ChunkReader& reader, const KeyTree& tree, PageUse& use,
                      const IndexedTable& table, FileFindings& findings, Progress& progress,
                      bool& sound) {
  TreeCheck pages(block, reader, findings, tree.shape);
  const std::uint32_t records =
      table.table != nullptr ? table.count : std::numeric_limits<std::uint32_t>::max();
  const Result result = pages.check_pages(use, records, sound);
  if (!ok(result) || table.table == nullptr) return result;
  if (sound) return Comparison(block, reader, tree, table, findings, progress).run();
  findings.add(VQ_F_NOT_COMPARED, {.name = tree.shape.name},
               "The keys were not compared with the table, since the index is damaged.");
  return Result::ok;
}

}  // namespace vqdb::check
