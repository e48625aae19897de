// Texts brought to a width: cut when longer, else filled. The functions PADL, PADR and PADC and
// the exported ones share it.
#ifndef VQDBSYS_EXPR_PADDING_H_
#define VQDBSYS_EXPR_PADDING_H_

#include <cstddef>
#include <string_view>

namespace vqdb::expr {

enum class Side : unsigned char {
  left,  // the filling
  right,
  both,  // half of it, rounded down, on the left
};

// Writes `width` bytes. The fill is gone through from its start on each side, and its first
// character comes twice where it starts again: AB fills as ABAABAAB. An empty fill is a blank.
void pad(std::string_view text, std::size_t width, std::string_view fill, Side side, char* out);

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_PADDING_H_
