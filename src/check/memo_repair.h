// What makes a memo file whole again: every memo that a field names keeps its place, or gets one of
// its own at the end; all blocks that no memo has ever been read from are free.
#ifndef VQDBSYS_CHECK_MEMO_REPAIR_H_
#define VQDBSYS_CHECK_MEMO_REPAIR_H_

#include <cstdint>
#include <vector>

#include "check/memo_form.h"
#include "check/patched_copy.h"

namespace vqdb::check {

struct MemoRepair {
  // A memo that is copied behind the others.
  struct Move {
    std::uint64_t from;
    std::uint64_t to;
    std::uint64_t size;
  };

  bool needed = false;
  std::vector<Patch> patches;  // of the memo file
  std::vector<Move> moves;
  std::vector<Patch> table_patches;  // the references that change
};

// REQUIRES form.is_memo_file.
MemoRepair plan_memo_repair(const TableForm& table, const MemoForm& form);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_MEMO_REPAIR_H_
