// The index kinds, one row each: their keyword in the index-list file, the kind codes of
// descriptions and members, and the columns of the index driver and key builder tables. Nothing
// else in this room names a kind.
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
}  // namespace member_kind

// Tokens of the keyword parser beside those of the keywords.
inline constexpr std::uint16_t kEqualsToken = 1;
inline constexpr std::uint16_t kNameToken = 256;

struct IndexKind {
  std::string_view keyword;
  std::uint16_t token;
  std::uint32_t code;            // of descriptions, and of members that are files
  std::uint32_t tag_code;        // of members that are tags; 0 for files of a single index
  std::uint32_t column;          // of the index driver table
  std::uint32_t builder_column;  // of the key builder table
  std::uint32_t found_as;        // a second code that finds members of this kind; 0: none
  bool file_steps;               // the file's copy passes for an index in steps
  std::string_view extension;

  bool has_tags() const { return tag_code != 0; }
  // The member code of what carries keys: a single index, or a tag.
  std::uint32_t key_code() const { return has_tags() ? tag_code : code; }
};

// The kind of a keyword, whatever its case; null for any other word.
const IndexKind* kind_of_keyword(std::string_view word);
const IndexKind* kind_of_token(std::uint16_t token);
// The kind of a file's member code; null for any other code.
const IndexKind* kind_of_file(std::uint32_t code);
// The kind of a description; null for any other code. Two bits of it belong to the host.
const IndexKind* kind_of_spec(std::uint32_t code);
// The kind that a line of the index list is written for: code 2304 is a FOXIDX that reading never
// brings back. Null for a description that has no line.
const IndexKind* listed_kind(std::uint32_t code);
// The kind whose members with keys have this code.
const IndexKind* kind_of_keys(std::uint32_t code);
// The kind whose tags have this code.
const IndexKind* kind_of_tag(std::uint32_t code);
// The multiple-index kind of a driver column.
const IndexKind* tagged_kind_of_column(std::uint32_t column);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_INDEX_KINDS_H_
