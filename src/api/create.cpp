#include "api/create.h"

#include <array>
#include <string>
#include <string_view>

#include "api/block.h"
#include "api/open.h"
#include "frame/bytes.h"
#include "frame/file_name.h"
#include "memo/driver_table.h"
#include "platform/file.h"
#include "platform/path.h"
#include "table/copy.h"
#include "table/create.h"

namespace vqdb::api {
namespace {

constexpr std::array<const char*, 5> kStaleExtensions = {"DD", "MDX", "NDX", "CDX", "IDX"};

bool has_memo_field(std::int32_t count, const char* const* fields) {
  for (std::int32_t i = 0; i < count; ++i) {
    const char* const type = fields[2 * i + 1];
    if (type != nullptr && table::is_memo_type(to_upper(*type))) return true;
  }
  return false;
}

// Makes the memo file of a new table, or takes the table away again.
Result create_memo_file(VqBlock& block, const char* name) {
  const Result result =
      memo::driver(memo_column(block)).create(block, memo_and_table(name).c_str());
  if (!ok(result)) (void)platform::remove(path_of(name, "DBF"));
  return result;
}

bool has_memo_driver(const VqBlock& block) {
  return memo::driver(memo_column(block)).create != nullptr;
}

}  // namespace

Result create(VqBlock& block, const char* name, std::int32_t count, const char* const* fields) {
  const bool with_memo = has_memo_field(count, fields);
  // Asked first, so that a table which cannot get its memo file does not replace another one.
  if (with_memo && !has_memo_driver(block)) return Result::no_driver;
  if (const Result result = table::create(block, name, count, fields); !ok(result)) return result;
  if (with_memo) {
    if (const Result result = create_memo_file(block, name); !ok(result)) return result;
  }
  for (const char* extension : kStaleExtensions) {
    (void)platform::remove(platform::resolve(replace_extension(name, extension)));
  }
  return Result::ok;
}

Result copy(VqBlock& block, const char* from, const char* to) {
  bool with_memo = false;
  const Result result = table::copy_structure(block, from, to, with_memo);
  if (!ok(result) || !with_memo) return result;
  if (!has_memo_driver(block)) {
    (void)platform::remove(path_of(to, "DBF"));
    return Result::no_driver;
  }
  return create_memo_file(block, to);
}

}  // namespace vqdb::api
