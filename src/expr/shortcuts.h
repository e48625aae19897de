// What a run of a program may pass over: the second operand of an .AND. or .OR. that the first one
// settles, where making it cannot fail. Where neither can fail the cheaper one goes first. Results
// stay what they are when everything runs.
#ifndef VQDBSYS_EXPR_SHORTCUTS_H_
#define VQDBSYS_EXPR_SHORTCUTS_H_

#include <span>

#include "expr/program.h"

namespace vqdb::expr {

void take_shortcuts(std::span<Call> calls);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_SHORTCUTS_H_
