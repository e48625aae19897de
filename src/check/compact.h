// Compaction that the table follows: its memo file is written anew with only the memos that its
// fields name, the fields get their new places, and both files take their places together.
#ifndef VQDBSYS_CHECK_COMPACT_H_
#define VQDBSYS_CHECK_COMPACT_H_

#include <cstdint>

#include "vqdbsys.h"

namespace vqdb::check {

// 0 or a negative result. Details 6621 (table or memo file is damaged), 6622 (the new files cannot
// take their places), 6611, 6613 (not written, no memory).
std::int32_t compact_group(VqBlock& block, const char* name);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_COMPACT_H_
