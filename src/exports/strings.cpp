// The text functions that hosts may call by themselves.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "expr/padding.h"
#include "frame/bytes.h"
#include "vqdbsys.h"

namespace {

using vqdb::is_space;
using vqdb::expr::Side;

std::string_view without_leading_space(std::string_view text) {
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view without_trailing_space(std::string_view text) {
  while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
  return text;
}

// The output may be the buffer of the text itself.
char* hand_out(std::string_view text, char* out) {
  std::memmove(out, text.data(), text.size());
  out[text.size()] = '\0';
  return out;
}

std::int32_t pad(const char* text, std::int32_t width, const char* fill, Side side, char* out) {
  if (text == nullptr || out == nullptr) return VQ_E_RANGE;
  const std::string_view whole = text;
  const auto size = static_cast<std::size_t>(std::max(width, 0));
  vqdb::expr::pad(whole, size, fill != nullptr ? fill : "", side, out);
  out[size] = '\0';
  return static_cast<std::int32_t>(whole.size());
}

}  // namespace

char* VQ_CALL fLTRIM(const char* text, char* out) {
  if (text == nullptr || out == nullptr) return nullptr;
  return hand_out(without_leading_space(text), out);
}

char* VQ_CALL fRTRIM(const char* text, char* out) {
  if (text == nullptr || out == nullptr) return nullptr;
  return hand_out(without_trailing_space(text), out);
}

// Keeps the first word only: the copy has always stopped at the first white space behind it.
char* VQ_CALL fALLTRIM(const char* text, char* out) {
  if (text == nullptr || out == nullptr) return nullptr;
  const std::string_view word = without_leading_space(text);
  const auto end = std::find_if(word.begin(), word.end(), is_space);
  return hand_out(word.substr(0, static_cast<std::size_t>(end - word.begin())), out);
}

int32_t VQ_CALL fPADL(const char* text, int32_t width, const char* fill, char* out) {
  return pad(text, width, fill, Side::left, out);
}

int32_t VQ_CALL fPADR(const char* text, int32_t width, const char* fill, char* out) {
  return pad(text, width, fill, Side::right, out);
}

int32_t VQ_CALL fPADC(const char* text, int32_t width, const char* fill, char* out) {
  return pad(text, width, fill, Side::both, out);
}
