#include "api/index_kinds.h"

#include <algorithm>
#include <array>

#include "frame/bytes.h"

namespace vqdb::api {
namespace {

// In the order in which a word is compared with the keywords.
constexpr std::array<IndexKind, 6> kKinds = {{
    // keyword, token, code, tag code, column, builder column, found as, steps, extension
    {"MDX", 2, VQ_KIND_MDX, VQ_KIND_TAG, 0, 0, 0, false, "MDX"},
    {"NDX", 4, VQ_KIND_NDX, 0, 1, 1, 0, false, "NDX"},
    {"NDX3", 8, VQ_KIND_NDX3, 0, 1, 2, VQ_KIND_NDX, false, "NDX"},
    {"FOXCDX", 16, VQ_KIND_FOXCDX, VQ_KIND_FOXCDX_TAG, 5, 5, 0, true, "CDX"},
    {"FOXIDX", 32, VQ_KIND_FOXIDX, 0, 4, 4, 0, false, "IDX"},
    {"CLIPNTX", 64, VQ_KIND_CLIPNTX, 0, 6, 6, 0, false, "NTX"},
}};

constexpr std::uint32_t kHostBits = 0x3000;
constexpr std::uint32_t kListedFoxidx = 2304;

template <typename Test>
const IndexKind* find_kind(Test test) {
  const auto* found = std::ranges::find_if(kKinds, test);
  return found != kKinds.end() ? found : nullptr;
}

}  // namespace

const IndexKind* kind_of_keyword(std::string_view word) {
  return find_kind([&](const IndexKind& kind) { return equal_ignoring_case(kind.keyword, word); });
}

const IndexKind* kind_of_token(std::uint16_t token) {
  return find_kind([&](const IndexKind& kind) { return kind.token == token; });
}

const IndexKind* kind_of_file(std::uint32_t code) {
  return find_kind([&](const IndexKind& kind) { return kind.code == code; });
}

const IndexKind* kind_of_spec(std::uint32_t code) { return kind_of_file(code & ~kHostBits); }

const IndexKind* listed_kind(std::uint32_t code) {
  const std::uint32_t own = code & ~kHostBits;
  return kind_of_file(own == kListedFoxidx ? VQ_KIND_FOXIDX : own);
}

const IndexKind* kind_of_keys(std::uint32_t code) {
  return find_kind([&](const IndexKind& kind) { return kind.key_code() == code; });
}

const IndexKind* kind_of_tag(std::uint32_t code) {
  return find_kind([&](const IndexKind& kind) { return kind.has_tags() && kind.tag_code == code; });
}

const IndexKind* tagged_kind_of_column(std::uint32_t column) {
  return find_kind([&](const IndexKind& kind) { return kind.has_tags() && kind.column == column; });
}

}  // namespace vqdb::api
