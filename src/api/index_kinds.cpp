#include "api/index_kinds.h"

#include <algorithm>
#include <array>

#include "frame/bytes.h"

namespace vqdb::api {
namespace {

using namespace member_kind;

// In the order in which a word is compared with the keywords.
constexpr std::array<IndexKind, 6> kKinds = {{
    {"MDX", 2, kMdx, 0, kMdxTag},
    {"NDX", 4, kNdx, 1, 0},
    {"NDX3", 8, kNdx3, 1, 0},
    {"FOXCDX", 16, kFoxcdx, 5, kFoxcdxTag},
    {"FOXIDX", 32, kFoxidx, 4, 0},
    {"CLIPNTX", 64, kClipntx, 6, 0},
}};

constexpr std::uint32_t kListedFoxidx = 2304;

template <typename Value>
const IndexKind* find_kind(Value IndexKind::*field, Value value) {
  const auto* found = std::ranges::find(kKinds, value, field);
  return found != kKinds.end() ? found : nullptr;
}

}  // namespace

const IndexKind* kind_of_keyword(std::string_view word) {
  const auto* found = std::ranges::find_if(
      kKinds, [&](const IndexKind& kind) { return equal_ignoring_case(kind.keyword, word); });
  return found != kKinds.end() ? found : nullptr;
}

const IndexKind* kind_of_token(std::uint16_t token) { return find_kind(&IndexKind::token, token); }

const IndexKind* kind_of_code(std::uint32_t code) { return find_kind(&IndexKind::code, code); }

std::string_view keyword_of_code(std::uint32_t code) {
  const IndexKind* kind = kind_of_code(code == kListedFoxidx ? kFoxidx : code);
  return kind != nullptr ? kind->keyword : std::string_view();
}

bool carries_keys(std::uint32_t code) {
  return code == kNdx || code == kNdx3 || code == kClipntx || code == kFoxidx || code == kMdxTag ||
         code == kFoxcdxTag;
}

bool is_filtered(std::uint32_t code) {
  return code == kMdxTag || code == kFoxidx || code == kFoxcdxTag;
}

}  // namespace vqdb::api
