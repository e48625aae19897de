// An NDX file among several processes. In a shared mode every operation locks the file, brings
// header and pages up to date, works, and lets go; the header tells nothing of changes, so what was
// read before the lock was taken counts for nothing.
#ifndef VQDBSYS_INDEX_NDX_SHARING_H_
#define VQDBSYS_INDEX_NDX_SHARING_H_

#include "index/ndx_file.h"

namespace vqdb::index {

// Waits for the file lock as long as another operation may take, takes it and refreshes. Nothing to
// do for an exclusive file, or one whose lock the caller has taken.
Result enter(NdxFile& file);
// Gives back what enter() took.
Result leave(NdxFile& file);

// Runs the work between enter() and leave(). The first failure counts, with its detail code.
template <typename Work>
Result in_bracket(NdxFile& file, Work work) {
  if (!file.is_shared()) return work();
  if (const Result result = enter(file); !ok(result)) return result;
  const Result result = work();
  const std::int32_t detail = file.block->detail;
  const Result left = leave(file);
  if (ok(result)) return left;
  file.block->detail = detail;
  return result;
}

// In a shared mode writes a change at once. What cannot be written is forgotten, since the file has
// to agree with the next process that locks it.
Result complete_change(NdxFile& file);

// Re-reads the header and forgets every page.
Result refresh(NdxFile& file);

// The caller's own lock, held until it is given back; it never waits.
Result lock_index_file(NdxFile& file);
Result unlock_index_file(NdxFile& file);
// ok: this handle holds the lock; not_locked: nobody does; locked: somebody else does.
Result index_lock_status(NdxFile& file);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_SHARING_H_
