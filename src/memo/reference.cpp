#include "memo/reference.h"

#include <algorithm>
#include <string_view>

#include "frame/bytes.h"

namespace vqdb::memo {

std::uint64_t parse_reference(const char* reference) {
  std::uint64_t block = 0;
  for (const char c : std::string_view(reference, kReferenceWidth)) {
    if (c == ' ') continue;
    if (!is_digit(c)) break;
    block = block * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return block;
}

void write_reference(std::uint32_t block, char* reference) {
  for (std::size_t i = kReferenceWidth; i-- > 0; block /= 10) {
    reference[i] = static_cast<char>('0' + block % 10);
  }
}

int memo_field_state(const char* field) {
  const std::string_view text(field, kReferenceWidth);
  const std::size_t digits = std::min(text.find_first_not_of(' '), text.size());
  const std::size_t number = std::min(text.find_first_not_of('0', digits), text.size());
  const std::string_view block = text.substr(number);
  if (block.empty()) return digits == 0 ? -1 : 0;
  return std::all_of(block.begin(), block.end(), is_digit) ? 1 : -1;
}

}  // namespace vqdb::memo
