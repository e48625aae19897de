#include "table/copy.h"

#include <algorithm>
#include <string_view>

#include "frame/file_name.h"
#include "table/create.h"
#include "table/scoped_table.h"

namespace vqdb::table {
namespace {

constexpr Operation kCopy{14};
constexpr Operation kCompare{19};

bool same_field(const Field& a, const Field& b) {
  return a.name == b.name && a.type == b.type && a.length == b.length && a.decimals == b.decimals;
}

}  // namespace

Result copy_structure(VqBlock& block, const char* from, const char* to, bool& has_memo) {
  has_memo = false;
  if (from == nullptr || to == nullptr || std::string_view(from) == to) {
    return fail(block, Result::not_allowed, kCopy.detail(1));
  }
  // Two names of one file: creating the copy would empty the source.
  const std::string target = path_of(to, "DBF");
  if (path_of(from, "DBF") == target) return fail(block, Result::not_allowed, kCopy.detail(1));
  ScopedTable source;
  const Result result =
      source.open(block, from, open_mode::kReadOnly | open_mode::kSharedReread, 1);
  return ok(result) ? create(block, target, fields(*source), has_memo) : result;
}

Result compare_structures(VqBlock& block, const char* first, const char* second) {
  ScopedTable a;
  ScopedTable b;
  Result result = a.open(block, first, open_mode::kSharedCached, 1);
  if (ok(result)) result = b.open(block, second, open_mode::kSharedCached, 1);
  if (!ok(result)) return result;
  const auto fields_a = fields(*a);
  const auto fields_b = fields(*b);
  const bool same =
      std::equal(fields_a.begin(), fields_a.end(), fields_b.begin(), fields_b.end(), same_field);
  return same ? Result::ok : fail(block, Result::mismatch, kCompare.detail(1));
}

}  // namespace vqdb::table
