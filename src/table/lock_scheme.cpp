#include "table/lock_scheme.h"

#include <array>

namespace vqdb::table {
namespace {

constexpr std::uint64_t kHigh = 0xEFFFFFFE;
constexpr std::uint64_t kBillion = 1000000000;
constexpr std::uint32_t kRecordSpan = 0x7FFFFFF;

constexpr std::array<LockScheme, 4> kSchemes = {{
    {kHigh, 2, kHigh + 1, kHigh, true, INT32_MAX},
    {kBillion, 1, kBillion + kRecordSpan, kBillion, false, kRecordSpan - 1},
    {kHigh + 1, 1, kHigh + 1, kHigh + 1, true, INT32_MAX},
    {0x7FFFFFFE, 1, 0x7FFFFFFD, 0x40000000, false, 0x3FFFFFFC},
}};

}  // namespace

const LockScheme* find_lock_scheme(std::uint32_t scheme) {
  return scheme < kSchemes.size() ? &kSchemes[scheme] : nullptr;
}

}  // namespace vqdb::table
