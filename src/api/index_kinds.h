// The index kinds under their three numberings: the keyword of the index-list file, the kind code
// of an index specification, and the column of the index driver table.
#ifndef VQDBSYS_API_INDEX_KINDS_H_
#define VQDBSYS_API_INDEX_KINDS_H_

#include <cstdint>
#include <string_view>

#include "vqdbsys.h"

namespace vqdb::api {

namespace member_kind {
inline constexpr std::uint32_t kTable = VQ_KIND_TABLE;
inline constexpr std::uint32_t kDbase4Memo = VQ_KIND_DBASE4_MEMO;
inline constexpr std::uint32_t kDbase3Memo = VQ_KIND_DBASE3_MEMO;
inline constexpr std::uint32_t kFoxproMemo = VQ_KIND_FOXPRO_MEMO;
inline constexpr std::uint32_t kMemo = kDbase4Memo | kDbase3Memo | kFoxproMemo;
inline constexpr std::uint32_t kMdx = VQ_KIND_MDX;
inline constexpr std::uint32_t kMdxTag = VQ_KIND_TAG;
inline constexpr std::uint32_t kNdx = VQ_KIND_NDX;
inline constexpr std::uint32_t kNdx3 = VQ_KIND_NDX3;
inline constexpr std::uint32_t kFoxidx = VQ_KIND_FOXIDX;
inline constexpr std::uint32_t kFoxcdx = VQ_KIND_FOXCDX;
inline constexpr std::uint32_t kFoxcdxTag = VQ_KIND_FOXCDX_TAG;
inline constexpr std::uint32_t kClipntx = VQ_KIND_CLIPNTX;
}  // namespace member_kind

// Tokens of the keyword parser beside those of the keywords.
inline constexpr std::uint16_t kEqualsToken = 1;
inline constexpr std::uint16_t kNameToken = 256;

struct IndexKind {
  std::string_view keyword;
  std::uint16_t token;
  std::uint32_t code;      // of specifications and of file members
  std::uint32_t column;    // through which files are opened
  std::uint32_t tag_code;  // of tag members; 0 for single-index files
  std::string_view extension;
};

// The kind of a keyword, whatever its case; null for any other word.
const IndexKind* kind_of_keyword(std::string_view word);
const IndexKind* kind_of_token(std::uint16_t token);
// The kind of a specification or file member; null for any other code.
const IndexKind* kind_of_code(std::uint32_t code);
// The keyword that the index-list file uses for a specification, empty when it has none. Code 2304
// is a FOXIDX that reading never brings back.
std::string_view keyword_of_code(std::uint32_t code);

// Whether a member of this kind carries keys that follow the records.
bool carries_keys(std::uint32_t code);
// Whether a member of this kind consults its filter.
bool is_filtered(std::uint32_t code);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_INDEX_KINDS_H_
