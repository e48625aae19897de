#include "table/detach.h"

#include <array>

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "table/header.h"
#include "table/interrupted.h"

namespace vqdb::table {
namespace {

constexpr Operation kApart{10};

}  // namespace

Result detach_production_index(VqBlock& block, const char* name) {
  const std::string path = path_of(name, "DBF");
  platform::File file;
  Result result = complete_interrupted(block, path);
  if (ok(result)) result = open_file(block, path, 0, file);
  if (!ok(result)) return result;
  std::array<Byte, kHeaderBytes> bytes;
  if (!file.read_exactly(0, bytes.data(), bytes.size()).ok()) {
    return fail(block, Result::io, kApart.detail(1));
  }
  // Looser than the test at open: either of the two bits makes a table here.
  if ((bytes[0] & version::kTableBits) == 0) {
    return fail(block, Result::bad_format, kApart.detail(2));
  }
  if (bytes[kProductionOffset] == 0) return Result::ok;
  constexpr Byte kClear = 0;
  if (!file.write_at(kProductionOffset, &kClear, 1).ok()) {
    return fail(block, Result::io, kApart.detail(4));
  }
  return Result::ok;
}

}  // namespace vqdb::table
