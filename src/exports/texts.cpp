#include <algorithm>
#include <cstdint>
#include <iterator>

#include "vqdbsys.h"

namespace {

struct Text {
  std::int32_t code;
  const char* words;
};

constexpr Text kResults[] = {
#include "result_texts.inc"
};

constexpr Text kDetails[] = {
#include "detail_texts.inc"
};
static_assert(std::ranges::is_sorted(kDetails, std::ranges::less_equal(), &Text::code));

const char* words_of(const Text* begin, const Text* end, std::int32_t code, const char* unknown) {
  const Text* const found = std::ranges::find(begin, end, code, &Text::code);
  return found != end ? found->words : unknown;
}

}  // namespace

const char* VQ_CALL vqVersion(void) { return "6.0.0"; }

const char* VQ_CALL vqErrorText(int32_t result) {
  return words_of(std::begin(kResults), std::end(kResults), result,
                  result > 0 ? "done" : "unknown result");
}

const char* VQ_CALL vqDetailText(int32_t detail) {
  return words_of(std::begin(kDetails), std::end(kDetails), detail, "");
}
