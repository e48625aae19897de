// The block that commands work with.
#ifndef VQDB_WORKING_BLOCK_H_
#define VQDB_WORKING_BLOCK_H_

#include <vqdbsys.h>

#include <memory>

#include "header.h"

namespace tool {

// A block for work on a table of this header: its dialect, room for long work, locks even where the
// dialect names none, and patience with those of others.
std::unique_ptr<VqBlock> working_block(const Header& header);

}  // namespace tool

#endif  // VQDB_WORKING_BLOCK_H_
