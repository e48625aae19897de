#include "api/create.h"

#include <array>
#include <string>

#include "api/block.h"
#include "api/open.h"
#include "frame/file_name.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "memo/creation.h"
#include "memo/driver_table.h"
#include "memo/names.h"
#include "platform/file.h"
#include "platform/path.h"
#include "table/copy.h"
#include "table/create.h"

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
  // The table first: an older memo file without its table is worth nothing, but not the other way
  // round.
  Result put_in_place();

 private:
  Result check_memo_name(const std::string& table_path, const std::string& memo_path,
                         const char* source) const;
  Result make_memo(const std::string& memo_path);

  VqBlock& block_;
  const char* const name_;
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
  const platform::Outcome made = table_.make_beside(table_path);
  if (!made.ok()) return fail(block_, open_result(made.error), kCreateTable.detail(3));
  const Result written = table.write(table_.file());
  return ok(written) && has_memo_ ? make_memo(memo_path) : written;
}

// A memo file of another name may hold another table's texts.
Result NewFiles::check_memo_name(const std::string& table_path, const std::string& memo_path,
                                 const char* source) const {
  const std::string own = memo::memo_path(replace_extension(name_, "DBF"));
  const bool taken =
      memo_path == table_path || platform::same_file(memo_path, table_path) ||
      (memo_path != own && platform::exists(memo_path)) ||
      (source != nullptr && platform::same_file(memo_path, memo::memo_path(memo_name_of(source))));
  return taken ? fail(block_, Result::not_allowed, kCreate.detail(1)) : Result::ok;
}

Result NewFiles::make_memo(const std::string& memo_path) {
  const auto layout =
      memo_column(block_) == memo::kDbase4Column ? memo::Layout::dbase4 : memo::Layout::dbase3;
  return memo::make_beside(block_, memo_, memo_path, layout);
}

Result NewFiles::put_in_place() {
  platform::Outcome placed = table_.put_in_place();
  if (!placed.ok()) return fail(block_, open_result(placed.error), kCreateTable.detail(3));
  if (!has_memo_) return Result::ok;
  placed = memo_.put_in_place();
  return placed.ok() ? Result::ok : fail(block_, open_result(placed.error), kCreate.detail(2));
}

}  // namespace

Result create(VqBlock& block, const char* name, std::int32_t count, const char* const* fields) {
  table::NewTable table(block);
  NewFiles files(block, name);
  Result result = table.add_described(count, fields);
  if (ok(result)) result = files.make(table, nullptr);
  if (ok(result)) result = files.put_in_place();
  if (!ok(result)) return result;
  for (const char* extension : kStaleExtensions) {
    (void)platform::remove(platform::resolve(replace_extension(name, extension)));
  }
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
