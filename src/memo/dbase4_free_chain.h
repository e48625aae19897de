// The chain of free runs in a dBASE IV memo file, from which new memos get their blocks. It begins
// at the block that the file header names and ends at a block at or beyond the end of the file,
// where new memos are appended. What has been read of the chain is remembered until reset().
//
// Writes are ordered so that a crash between any two of them loses blocks at worst: no block is
// ever both in the chain and in a memo that a reference names.
#ifndef VQDBSYS_MEMO_DBASE4_FREE_CHAIN_H_
#define VQDBSYS_MEMO_DBASE4_FREE_CHAIN_H_

#include <cstdint>

#include "frame/result.h"
#include "memo/free_runs.h"

namespace vqdb::memo {

struct Memo;
class ChainReader;

// Blocks taken for a memo.
struct Placement {
  Run run;
  bool at_end = false;  // behind everything else, where the file may not reach yet
};

class FreeChain {
 public:
  // Forgets what was read; the chain begins at the block that the header names.
  void reset(std::uint32_t first);

  // Takes the first run that has enough blocks; the rest of a larger one stays in the chain. When
  // none has, the blocks lie at the end of the chain, which moves behind them. A chain that leaves
  // the file, runs in a circle, has a block twice or goes through the run `used` gives -3 and
  // nothing is taken.
  Result take(Memo& memo, std::uint32_t blocks, Run used, Placement& placement);

  // Whether a run of the chain begins at this block. A chain that cannot be followed gives -3.
  Result contains(Memo& memo, std::uint32_t block, bool& yes);

  // Puts a run at the front. Runs are not merged.
  Result give(Memo& memo, Run run);

  // Gives back, as far as the file lets us, what take() gave for a memo that could not be written.
  // The block's detail code stays.
  void give_back(Memo& memo, const Placement& placement);

 private:
  std::uint32_t front() const;
  std::uint32_t first_at(FreeRuns::Place place) const;
  std::uint32_t behind(FreeRuns::Place place) const;
  bool goes_on(const Memo& memo) const;
  Result read_run(Memo& memo, ChainReader& reader);
  Result find(Memo& memo, std::uint32_t blocks, Run used, FreeRuns::Place& place);
  Result find_place(Memo& memo, std::uint32_t blocks, Run used, FreeRuns::Place& place);
  bool is_as_in_file(Memo& memo, FreeRuns::Place place) const;
  Result check_apart(Memo& memo);
  Result take_whole(Memo& memo, FreeRuns::Place place);
  Result take_part(Memo& memo, FreeRuns::Place place, Run rest);
  Result append(Memo& memo, std::uint32_t blocks, Placement& placement);
  std::uint64_t link_before(const Memo& memo, FreeRuns::Place place) const;
  Result move_end(Memo& memo, std::uint32_t end);
  void shrink_end(Memo& memo, std::uint32_t first);

  FreeRuns runs_;           // read so far
  std::uint32_t next_ = 0;  // where the chain goes on behind them
  bool is_apart_ = false;   // no two runs have a block in common
};

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_DBASE4_FREE_CHAIN_H_
