#include "api/index_kinds.h"

#include <algorithm>
#include <array>

#include "frame/bytes.h"

namespace vqdb::api {
namespace {

namespace kind_code = member_kind;

// In the order in which a word is compared with the keywords.
constexpr std::array<IndexKind, 6> kKinds = {{
    {"MDX", 2, kind_code::kMdx, 0, kind_code::kMdxTag, "MDX"},
    {"NDX", 4, kind_code::kNdx, 1, 0, "NDX"},
    {"NDX3", 8, kind_code::kNdx3, 1, 0, "NDX"},
    {"FOXCDX", 16, kind_code::kFoxcdx, 5, kind_code::kFoxcdxTag, "CDX"},
    {"FOXIDX", 32, kind_code::kFoxidx, 4, 0, "IDX"},
    {"CLIPNTX", 64, kind_code::kClipntx, 6, 0, "NTX"},
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
  const IndexKind* kind = kind_of_code(code == kListedFoxidx ? kind_code::kFoxidx : code);
  return kind != nullptr ? kind->keyword : std::string_view();
}

bool carries_keys(std::uint32_t code) {
  return code == kind_code::kNdx || code == kind_code::kNdx3 || code == kind_code::kClipntx ||
         code == kind_code::kFoxidx || code == kind_code::kMdxTag || code == kind_code::kFoxcdxTag;
}

bool is_filtered(std::uint32_t code) {
  return code == kind_code::kMdxTag || code == kind_code::kFoxidx || code == kind_code::kFoxcdxTag;
}

}  // namespace vqdb::api
