// Hands the value of an expression to the caller: as text or number, or as the bytes of an index
// key.
#ifndef VQDBSYS_EXPR_DELIVERY_H_
#define VQDBSYS_EXPR_DELIVERY_H_

#include <cstdint>

#include "expr/run.h"

namespace vqdb::expr {

// What the caller asked for, and what the program can make at most (0: unknown).
struct Delivery {
  std::uint32_t options = 0;
  std::int32_t max = 0;
  std::int32_t longest = 0;
};

Result deliver(const Run& run, const Value& value, const Delivery& wanted, char* buffer,
               std::int32_t& length);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_DELIVERY_H_
