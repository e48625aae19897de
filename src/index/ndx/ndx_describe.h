// What an open NDX file says of itself.
#ifndef VQDBSYS_INDEX_NDX_NDX_DESCRIBE_H_
#define VQDBSYS_INDEX_NDX_NDX_DESCRIBE_H_

#include <cstdint>

#include "index/ndx/ndx_file.h"

namespace vqdb::index {

inline constexpr std::int32_t kUniqueIndex = VQ_INDEX_UNIQUE;

// Copies the key expression with its closing zero. A buffer too small for it is refused: -4,
// detail 3053.
Result key_expression(const NdxFile& file, char* text, std::int32_t size, std::int32_t* flags);
Result key_expression_length(const NdxFile& file, std::int32_t* length, std::int32_t* flags);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_NDX_DESCRIBE_H_
