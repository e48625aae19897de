// The operations of this room, whose details are their number and a digit.
#ifndef VQDBSYS_CHECK_OPERATIONS_H_
#define VQDBSYS_CHECK_OPERATIONS_H_

#include <cstdint>

#include "frame/result.h"

namespace vqdb::check {

inline constexpr Operation kCheck{660};
inline constexpr Operation kRepair{661};
inline constexpr Operation kCompact{662};

// Of tables that are read from the first record to the last.
inline constexpr std::int32_t kReadBuffers = 64;

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_OPERATIONS_H_
