// Constants are put together when the program is made: a call whose operands are all written in the
// expression, and which gives the same whatever record, settings, files and clock say, is made
// once. One that fails is left to the run, which fails there as it always does.
#ifndef VQDBSYS_EXPR_FOLDING_H_
#define VQDBSYS_EXPR_FOLDING_H_

#include <cstddef>
#include <span>

#include "expr/program.h"

namespace vqdb::expr {

// How many calls are left to the run; they come first. The last one always is, since its result
// tells the shape of the whole until the run.
std::size_t fold_constants(VqBlock& block, std::span<Call> calls);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_FOLDING_H_
