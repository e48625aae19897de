#include "table/pack.h"

#include "frame/file_name.h"
#include "frame/progress.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "table/create.h"
#include "table/locks.h"
#include "table/records.h"
#include "table/scoped_table.h"
#include "table/table_handle.h"

namespace vqdb::table {
namespace {

constexpr Operation kPack{29};

constexpr std::int32_t kBuffers = 64;  // both tables are read and written in order

Result copy_live_records(VqBlock& block, Table& from, Table& to) {
  const std::uint32_t count = known_record_count(from);
  const platform::Bytes record = platform::allocate_bytes(record_length(from));
  if (record == nullptr) return fail(block, Result::no_memory, kPack.detail(2));
  Progress progress(block, count);
  for (std::uint32_t recno = 1; recno <= count; ++recno) {
    Result result = read_whole_record(from, recno, record.get());
    if (ok(result) && record[0] == kLive) result = append_whole_record(to, record.get());
    if (ok(result)) result = progress.step();
    if (!ok(result)) return result;
  }
  return progress.finish();
}

}  // namespace

Result pack(VqBlock& block, const char* name) {
  const std::string path = path_of(name, "DBF");
  TemporaryFile packed;
  // Keeps its locks until the copy is in its place, where the system lets an open file be replaced.
  ScopedTable source;
  {
    ScopedTable target;
    Result result = source.open(block, path, 0, kBuffers);
    if (ok(result)) result = claim_table(*source);
    // Others may have appended since the table was opened.
    if (ok(result)) result = refresh_count(*source);
    if (!ok(result)) return result;
    const platform::Outcome made = packed.make(block, path);
    if (!made.ok()) return fail(block, open_result(made.error), kPack.detail(1));
    result = create_like(*source, packed.file(), kPack.detail(4));
    if (ok(result)) result = target.open(block, packed.path(), 0, kBuffers);
    if (ok(result)) result = copy_live_records(block, *source, *target);
    if (ok(result)) result = target.close();
    if (!ok(result)) return result;
  }
  if constexpr (!platform::kReplacesOpenFiles) {
    if (const Result result = source.close(); !ok(result)) return result;
  }
  const platform::Outcome placed = packed.put_in_place();
  return placed.ok() ? Result::ok : fail(block, open_result(placed.error), kPack.detail(3));
}

}  // namespace vqdb::table
