#include "table/copy.h"

#include <algorithm>
#include <string_view>

#include "frame/file_name.h"
#include "platform/file.h"
#include "table/scoped_table.h"

namespace vqdb::table {
namespace {

constexpr Operation kCopy{14};
constexpr Operation kCompare{19};

bool same_field(const Field& a, const Field& b) {
  return a.name == b.name && a.type == b.type && a.length == b.length && a.decimals == b.decimals;
}

}  // namespace

Result add_fields_of(VqBlock& block, const char* from, const char* to, NewTable& table) {
  if (from == nullptr || to == nullptr) return fail(block, Result::not_allowed, kCopy.detail(1));
  const std::string source_path = path_of(from, "DBF");
  const std::string target_path = path_of(to, "DBF");
  // Creating the copy would empty the source.
  if (std::string_view(from) == to || platform::may_be_same_file(source_path, target_path)) {
    return fail(block, Result::not_allowed, kCopy.detail(1));
  }
  ScopedTable source;
  const Result result =
      source.open(block, source_path, open_mode::kReadOnly | open_mode::kSharedReread, 1);
  return ok(result) ? table.add_like(fields(*source)) : result;
}

Result copy_structure(VqBlock& block, const char* from, const char* to) {
  NewTable table(block);
  const Result result = add_fields_of(block, from, to, table);
  return ok(result) ? table.replace(path_of(to, "DBF")) : result;
}

Result compare_structures(VqBlock& block, const char* first, const char* second) {
  constexpr std::uint32_t kMode = open_mode::kSharedCached | open_mode::kReadOnly;
  ScopedTable a;
  ScopedTable b;
  Result result = a.open(block, path_of(first, "DBF"), kMode, 1);
  if (ok(result)) result = b.open(block, path_of(second, "DBF"), kMode, 1);
  if (!ok(result)) return result;
  const auto fields_a = fields(*a);
  const auto fields_b = fields(*b);
  const bool same =
      std::equal(fields_a.begin(), fields_a.end(), fields_b.begin(), fields_b.end(), same_field);
  return same ? Result::ok : fail(block, Result::mismatch, kCompare.detail(1));
}

}  // namespace vqdb::table
