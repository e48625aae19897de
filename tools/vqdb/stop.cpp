#include "stop.h"

namespace tool {

std::string words_of(int32_t result, int32_t detail) {
  const char* const cause = vqErrorText(result);
  const char* const place = vqDetailText(detail);
  if (detail == 0) return fmt::format("{} (result {})", cause, result);
  if (*place == '\0' || std::string_view(place) == cause) {
    return fmt::format("{} (detail {})", cause, detail);
  }
  return fmt::format("{}: {} (detail {})", cause, place, detail);
}

void require(const VqBlock& block, int32_t result, std::string_view subject) {
  if (result >= 0) return;
  if (result == VQ_E_CANCELLED) stop_failed("{}: cancelled", subject);
  stop_failed("{}: {}", subject, words_of(result, block.detail));
}

void stop_unopened(const VqBlock& block, std::string_view subject) {
  stop_failed("{}: {}", subject, words_of(block.result, block.detail));
}

}  // namespace tool
