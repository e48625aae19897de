#include "api/create.h"

#include <algorithm>
#include <array>
#include <string>

#include "api/block.h"
#include "api/open.h"
#include "frame/file_name.h"
#include "frame/replacements.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "memo/creation.h"
#include "memo/driver_table.h"
#include "memo/names.h"
#include "platform/file.h"
#include "platform/path.h"
#include "table/copy.h"
#include "table/create.h"
#include "table/interrupted.h"
#include "table/locks.h"

namespace vqdb::api {
namespace {

constexpr Operation kCreateTable{15};
constexpr Operation kCreate{637};

constexpr std::array<const char*, 5> kStaleExtensions = {"DD", "MDX", "NDX", "CDX", "IDX"};

// The files of a new table, complete, until they are put in their places.
class NewFiles {
 public:
  NewFiles(VqBlock& block, const char* name) : block_(block), name_(name) {}

  // `source`, which may be null, is a table that stays.
  Result make(table::NewTable& table, const char* source);
  // Both, or none after a failure (6372 where the next open may still complete what was begun).
  Result put_in_place();

 private:
  Result check_memo_name(const std::string& table_path, const std::string& memo_path,
                         const char* source) const;
  Result make_memo(const std::string& memo_path);
  platform::Outcome place(TemporaryFile& first, TemporaryFile& second);
  platform::Outcome replace_both();

  VqBlock& block_;
  const char* const name_;
  platform::File old_table_;  // with its lock
  platform::File old_memo_;
  TemporaryFile table_;
  TemporaryFile memo_;
  bool has_memo_ = false;
};

Result NewFiles::make(table::NewTable& table, const char* source) {
  has_memo_ = table.has_memo();
  const std::string table_path = path_of(name_, "DBF");
  const std::string memo_path = memo::memo_path(memo_name_of(name_));
  if (has_memo_) {
    if (memo::driver(memo_column(block_)).create == nullptr) return Result::no_driver;
    const Result result = check_memo_name(table_path, memo_path, source);
    if (!ok(result)) return result;
  }
  const Result claimed =
      table::claim_table_at(block_, table_path, old_table_, kCreateTable.detail(3));
  if (!ok(claimed)) return claimed;
  const platform::Outcome made = table_.make_beside(table_path);
  if (!made.ok()) return fail(block_, open_result(made.error), kCreateTable.detail(3));
  const Result written = table.write(table_.file());
  return ok(written) && has_memo_ ? make_memo(memo_path) : written;
}

// A memo file of another name may hold another table's texts.
Result NewFiles::check_memo_name(const std::string& table_path, const std::string& memo_path,
                                 const char* source) const {
  const std::string own = memo::memo_path(replace_extension(name_, "DBF"));
  const bool taken = memo_path == table_path || platform::may_be_same_file(memo_path, table_path) ||
                     (memo_path != own && platform::exists(memo_path)) ||
                     (source != nullptr &&
                      platform::may_be_same_file(memo_path, memo::memo_path(memo_name_of(source))));
  return taken ? fail(block_, Result::not_allowed, kCreate.detail(1)) : Result::ok;
}

Result NewFiles::make_memo(const std::string& memo_path) {
  const auto layout =
      memo_column(block_) == memo::kDbase4Column ? memo::Layout::dbase4 : memo::Layout::dbase3;
  const Result claimed = table::claim_file_at(block_, memo_path, old_memo_, kCreate.detail(2));
  return ok(claimed) ? memo::make_beside(block_, memo_, memo_path, layout) : claimed;
}

Result NewFiles::put_in_place() {
  if constexpr (!platform::kReplacesOpenFiles) {
    (void)old_table_.close();
    (void)old_memo_.close();
  }
  if (!has_memo_) {
    const platform::Outcome placed = table_.put_in_place();
    return placed.ok() ? Result::ok
                       : fail(block_, open_result(placed.error), kCreateTable.detail(3));
  }
  const bool has_older_table = platform::exists(table_.target());
  const bool has_older_memo = platform::exists(memo_.target());
  const platform::Outcome placed = has_older_table && has_older_memo ? replace_both()
                                   : has_older_memo                  ? place(table_, memo_)
                                                                     : place(memo_, table_);
  return placed.ok() ? Result::ok : fail(block_, open_result(placed.error), kCreate.detail(2));
}

// The first replaces nothing, and goes again when the second cannot follow.
platform::Outcome NewFiles::place(TemporaryFile& first, TemporaryFile& second) {
  platform::Outcome placed = first.put_if_absent();
  if (!placed.ok()) return placed;
  placed = second.put_in_place();
  if (!placed.ok()) (void)platform::remove(first.target());
  return placed;
}

platform::Outcome NewFiles::replace_both() {
  GrowingFiles growing(table::journal_of(path_of(name_, "DBF")), {table_.target(), memo_.target()});
  platform::Outcome placed = growing.start();
  for (std::size_t i = 0; placed.ok() && i < 2; ++i) {
    TemporaryFile& file = i == 0 ? table_ : memo_;
    placed = file.put_at(growing.path(i));
    if (placed.ok()) placed = file.file().close();
  }
  return placed.ok() ? growing.put_in_place() : placed;
}

}  // namespace

Result create(VqBlock& block, const char* name, std::int32_t count, const char* const* fields) {
  table::NewTable table(block);
  NewFiles files(block, name);
  Result result = table.add_described(count, fields);
  if (ok(result)) result = files.make(table, nullptr);
  if (!ok(result)) return result;
  // Where the new files are in their places, nothing may fail any more.
  std::array<std::string, kStaleExtensions.size()> stale;
  std::ranges::transform(kStaleExtensions, stale.begin(), [&](const char* extension) {
    return platform::resolve(replace_extension(name, extension));
  });
  result = files.put_in_place();
  if (!ok(result)) return result;
  for (const std::string& path : stale) (void)platform::remove(path);
  return Result::ok;
}

Result copy(VqBlock& block, const char* from, const char* to) {
  table::NewTable table(block);
  Result result = table::add_fields_of(block, from, to, table);
  if (!ok(result)) return result;
  NewFiles files(block, to);
  result = files.make(table, from);
  return ok(result) ? files.put_in_place() : result;
}

}  // namespace vqdb::api
