// What the build of an index keeps others from meanwhile: the table whose keys it takes, and the
// file that the new one will replace.
#ifndef VQDBSYS_INDEX_BUILD_BUILD_HOLD_H_
#define VQDBSYS_INDEX_BUILD_BUILD_HOLD_H_

#include <cstdint>
#include <string>

#include "frame/result.h"
#include "frame/temporary_file.h"
#include "platform/file.h"
#include "table/table.h"

namespace vqdb::index {

// The table's file lock, unless the host holds it; nothing where its scheme has no locks. Somebody
// else's locks refuse it (details 483 and 484). What is read under it is what the file has.
class TableHold {
 public:
  explicit TableHold(table::Table& table) : table_(table) {}
  ~TableHold() { static_cast<void>(release_after(Result::ok)); }
  TableHold(const TableHold&) = delete;
  TableHold& operator=(const TableHold&) = delete;

  Result take();
  // Lets go; the work's own failure counts first.
  Result release_after(Result work);

 private:
  table::Table& table_;
  bool taken_ = false;
};

// The index file at a place that a new one is made for. Without one there is nothing to hold.
class ReplacedFile {
 public:
  ReplacedFile(VqBlock& block, std::uint32_t lock_scheme) : block_(block), scheme_(lock_scheme) {}

  // A file that somebody else has locked is refused: file_locked, with this detail code.
  Result take(const std::string& path, std::int32_t locked_detail);
  // Puts the new file in the place. Until it is there, and as long as this object lives, nobody
  // else gets hold of the old one, where the system replaces open files.
  platform::Outcome give_way_to(TemporaryFile& complete);

 private:
  VqBlock& block_;
  const std::uint32_t scheme_;
  platform::File file_;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_BUILD_BUILD_HOLD_H_
