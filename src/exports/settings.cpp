#include <algorithm>
#include <cstring>
#include <iterator>

#include "table/lock_scheme.h"
#include "vqdbsys.h"

namespace {

constexpr std::int32_t kLastDateFormat = 6;
constexpr std::size_t kMaxDirectory = 85;

// The value when it is one of 0..last, else 0.
std::uint32_t choice(std::int32_t value, std::int32_t last) {
  return value >= 0 && value <= last ? static_cast<std::uint32_t>(value) : 0;
}

}  // namespace

char* VQ_CALL dUversion(char* text) {
  return text != nullptr ? std::strcpy(text, "6.00") : nullptr;
}

VqBlock* VQ_CALL dUsetlang(VqBlock* block, int32_t language) {
  if (block != nullptr) block->language = language == 1 ? 1 : 0;
  return block;
}

VqBlock* VQ_CALL dUsetnet(VqBlock* block, int32_t scheme) {
  if (block != nullptr)
    block->index_kind =
        choice(scheme, static_cast<std::int32_t>(vqdb::table::kLockSchemes.size()) - 1);
  return block;
}

VqBlock* VQ_CALL dUsetwait(VqBlock* block, int32_t milliseconds) {
  if (block != nullptr) block->lock_wait = static_cast<std::uint32_t>(std::max(milliseconds, 0));
  return block;
}

VqBlock* VQ_CALL dUsetcent(VqBlock* block, int32_t on) {
  if (block != nullptr) block->century = on != 0 ? 1 : 0;
  return block;
}

VqBlock* VQ_CALL dUsetexact(VqBlock* block, int32_t on) {
  if (block != nullptr) block->exact = on != 0 ? 1 : 0;
  return block;
}

VqBlock* VQ_CALL dUsetdate(VqBlock* block, int32_t format) {
  if (block != nullptr) block->date_format = choice(format, kLastDateFormat);
  return block;
}

int32_t VQ_CALL dUtmpdir(VqBlock* block, const char* directory) {
  if (block == nullptr) return VQ_E_RANGE;
  const std::size_t length = directory != nullptr ? std::strlen(directory) : 0;
  if (length > kMaxDirectory) return VQ_E_UNKNOWN_NAME;
  static_assert(std::size(VqBlock{}.temporary_directory) >= kMaxDirectory + 2);
  if (length == 0) {
    block->temporary_directory[0] = '\0';
    return VQ_OK;
  }
  char* end = block->temporary_directory + length;
  std::memmove(block->temporary_directory, directory, length);
  if (end[-1] != '\\') *end++ = '\\';
  *end = '\0';
  return VQ_OK;
}

VqBlock* VQ_CALL dUsetprog(VqBlock* block, VqProgress function, void* context) {
  if (block != nullptr) {
    block->progress = reinterpret_cast<std::uintptr_t>(function);
    block->progress_context = reinterpret_cast<std::uintptr_t>(context);
  }
  return block;
}
