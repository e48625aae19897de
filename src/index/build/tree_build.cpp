#include "index/build/tree_build.h"

#include "index/keys/key_feed.h"
#include "index/keys/stream_entries.h"
#include "index/tree/page_pour.h"
#include "sort/external_sort.h"

namespace vqdb::index {
namespace {

Result pour_entries(sort::ExternalSort& sort, const TreeTarget& target, Progress& progress,
                    PagePour& pour) {
  const std::size_t key_length = target.layout.key_length;
  std::array<Byte, kMaxKeyLength> last;
  bool has_last = false;
  for (;;) {
    const Byte* entry = nullptr;
    if (const Result result = sort.next(entry); !ok(result) || entry == nullptr) return result;
    if (const Result result = progress.step(); !ok(result)) return result;
    const Byte* const key = entry + kEntryHead;
    if (target.unique) {
      if (has_last && target.order.compare(last.data(), key, key_length) == 0) continue;
      std::memcpy(last.data(), key, key_length);
      has_last = true;
    }
    if (const Result result = pour.add(load_le32(entry), key); !ok(result)) return result;
  }
}

}  // namespace

Result parse_expression(table::Table& table, const std::string& text, ExpressionOwner& expression,
                        expr::ResultShape& shape) {
  expr::Expression* parsed = nullptr;
  const Result result =
      expr::parse(table::block_of(table), text.c_str(), {.table = &table}, parsed, shape);
  if (ok(result)) expression.reset(parsed);
  return result;
}

Result build_tree(const KeySource& source, const TreeTarget& target, Progress& progress,
                  PageNumber& root) {
  VqBlock& block = table::block_of(source.table);
  const std::uint32_t key_length = target.layout.key_length;
  const StreamEntries entries(target.stream, key_length);
  sort::ExternalSort sort(block, entries, kEntryHead + key_length, progress);
  if (const Result result = sort.start(); !ok(result)) return result;
  KeyFeed feed(source.table, source.key, source.options, key_length, source.filter);
  if (const Result result = feed.run(source.count, sort, progress); !ok(result)) return result;
  if (const Result result = sort.finish(); !ok(result)) return result;
  PagePour pour(block, target.file, target.layout, target.grid, target.store);
  if (const Result result = pour.start(); !ok(result)) return result;
  const Result result = pour_entries(sort, target, progress, pour);
  return ok(result) ? pour.finish(root) : result;
}

}  // namespace vqdb::index
