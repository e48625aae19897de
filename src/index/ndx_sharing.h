// An NDX file among several processes. In a shared mode every operation locks the file, brings
// header and pages up to date, works, and lets go; the header tells nothing of changes, so what was
// read before the lock was taken counts for nothing.
#ifndef VQDBSYS_INDEX_NDX_SHARING_H_
#define VQDBSYS_INDEX_NDX_SHARING_H_

#include "index/ndx_file.h"

namespace vqdb::index {

// Brackets nest, and cost nothing in an exclusive mode. The outermost enter() waits for the file
// lock as long as another operation may take, takes it and refreshes; the outermost leave() writes
// what has changed and lets go. What cannot be written is forgotten, since the file has to agree
// with the next process that locks it. A lock that the caller has taken stays.
Result enter(NdxFile& file);
Result leave(NdxFile& file);

// Runs the work between enter() and leave(). The first failure counts, with its detail code.
template <typename Work>
Result in_bracket(NdxFile& file, Work work) {
  if (const Result result = enter(file); !ok(result)) return result;
  const Result result = work();
  const std::int32_t detail = file.block->detail;
  const Result left = leave(file);
  if (ok(result)) return left;
  file.block->detail = detail;
  return result;
}

// Re-reads the header and forgets every page.
Result refresh(NdxFile& file);

// The caller's own lock, held until it is given back; it never waits.
Result lock_index_file(NdxFile& file);
Result unlock_index_file(NdxFile& file);
// ok: this handle holds the lock; not_locked: nobody does; locked: somebody else does.
Result index_lock_status(NdxFile& file);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_SHARING_H_
