#include "expr/padding.h"

#include <algorithm>

namespace vqdb::expr {

namespace {

char* put_fill(std::string_view fill, std::size_t count, char* out) {
  if (fill.empty()) fill = " ";
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t place = i % (fill.size() + 1);
    *out++ = fill[place == fill.size() ? 0 : place];
  }
  return out;
}

}  // namespace

void pad(std::string_view text, std::size_t width, std::string_view fill, Side side, char* out) {
  text = text.substr(0, width);
  const std::size_t filling = width - text.size();
  const std::size_t left = side == Side::left ? filling : side == Side::both ? filling / 2 : 0;
  out = put_fill(fill, left, out);
  out = std::copy(text.begin(), text.end(), out);
  put_fill(fill, filling - left, out);
}

}  // namespace vqdb::expr
