// The database block: the host's record of one dialect's settings, under which everything is opened
// and into which every failure writes its detail code.
#ifndef VQDBSYS_API_BLOCK_H_
#define VQDBSYS_API_BLOCK_H_

#include <cstdint>

#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// Clears the block and sets the defaults of the dialect. A kind that is no dialect gives -12 and
// leaves the block as it was.
Result init_block(VqBlock& block, std::uint32_t kind);

// The memo driver column of new memo files and of memory questions.
std::uint32_t memo_column(const VqBlock& block);
// The memo driver column of compaction, which knows fewer dialects by name.
std::uint32_t compaction_column(const VqBlock& block);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_BLOCK_H_
