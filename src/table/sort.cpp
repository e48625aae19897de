#include "table/sort.h"

#include "frame/file_name.h"
#include "frame/progress.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "sort/external_sort.h"
#include "table/create.h"
#include "table/locks.h"
#include "table/records.h"
#include "table/scoped_table.h"
#include "table/sort_key.h"

namespace vqdb::table {
namespace {

constexpr Operation kSort{44};

constexpr std::int32_t kBuffers = 64;  // both tables are read and written in order

bool is_missing(const char* text) { return text == nullptr || *text == '\0'; }

// Entries carry the whole record behind its key, so that both tables are passed through in order.
Result sort_records(VqBlock& block, Table& from, Table& to, const SortKey& key) {
  const std::uint32_t count = known_record_count(from);
  // Every record is met twice: on its way in and on its way out.
  Progress progress(block, 2 * std::uint64_t{count});
  const sort::LeadingBytesOrder order(key.size());
  sort::ExternalSort sorter(block, order, key.size() + record_length(from), progress);
  Result result = sorter.start();
  for (std::uint32_t recno = 1; ok(result) && recno <= count; ++recno) {
    Byte* entry = nullptr;
    result = sorter.make_room(entry);
    if (ok(result)) result = read_whole_record(from, recno, entry + key.size());
    if (!ok(result)) break;
    key.build(entry + key.size(), entry);
    sorter.accept();
    result = progress.step();
  }
  if (ok(result)) result = sorter.finish();
  const Byte* entry = nullptr;
  while (ok(result) && ok(result = sorter.next(entry)) && entry != nullptr) {
    result = append_whole_record(to, entry + key.size());
    if (ok(result)) result = progress.step();
  }
  return ok(result) ? progress.finish() : result;
}

Result sort_into(VqBlock& block, const std::string& source, TemporaryFile& target,
                 const char* keys) {
  ScopedTable from;
  ScopedTable to;
  SortKey key;
  Result result = from.open(block, source, open_mode::kReadOnly, kBuffers);
  if (ok(result)) result = key.parse(block, *from, keys);
  if (ok(result)) result = create_like(*from, target.file(), kSort.detail(3));
  if (ok(result)) result = to.open(block, target.path(), 0, kBuffers);
  if (ok(result)) result = sort_records(block, *from, *to, key);
  return ok(result) ? to.close() : result;
}

}  // namespace

Result sort(VqBlock& block, const char* source, const char* target, const char* keys) {
  if (is_missing(source) || is_missing(target) || is_missing(keys)) {
    return fail(block, Result::not_allowed, kSort.detail(1));
  }
  const std::string from = path_of(source, "DBF");
  const std::string to = path_of(target, "DBF");
  if (from == to || platform::may_be_same_file(from, to)) {
    return fail(block, Result::not_allowed, kSort.detail(1));
  }
  platform::File replaced;
  Result result = claim_table_at(block, to, replaced, kSort.detail(3));
  if (!ok(result)) return result;
  TemporaryFile sorted;
  const platform::Outcome made = sorted.make(block, to);
  if (!made.ok()) return fail(block, open_result(made.error), kSort.detail(3));
  result = sort_into(block, from, sorted, keys);
  if (!ok(result)) return result;
  const platform::Outcome placed = sorted.put_in_place(&replaced);
  return placed.ok() ? Result::ok : fail(block, open_result(placed.error), kSort.detail(3));
}

}  // namespace vqdb::table
