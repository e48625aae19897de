// Makes the files of a group sound again, each by a copy that takes its place in one step, and
// keeps the file as it was. Records are never dropped.
#ifndef VQDBSYS_CHECK_REPAIR_H_
#define VQDBSYS_CHECK_REPAIR_H_

#include <cstdint>

#include "check/check.h"

namespace vqdb::check {

// The number of errors that remain, or a negative result. Details 6611 (not written), 6612 (backup
// not made), 6613 (no memory), 6614 (a file could not take its place).
std::int32_t repair_group(const Request& request);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_REPAIR_H_
