// Building NDX files from their tables: every record's key, sorted, poured into full pages. The
// file is built beside its place, which it takes in one step when it is complete; a failure, or a
// host that cancels, leaves what was there.
#ifndef VQDBSYS_INDEX_NDX_NDX_BUILD_H_
#define VQDBSYS_INDEX_NDX_NDX_BUILD_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/result.h"
#include "index/ndx/ndx_header.h"
#include "table/table.h"

namespace vqdb::index {

namespace build_option {
inline constexpr std::uint32_t kUnique = VQ_BUILD_UNIQUE;
inline constexpr std::uint32_t kNdx3 = VQ_BUILD_NDX3;
}  // namespace build_option

// Makes an index on the expression, which gives key type and length. A unique index keeps the
// first record of each key. Details as for create_ndx; 3104: the table is shared and there is a
// file of this name, which others may have open (-11); 3105: somebody else has locked that file
// (-38).
Result build_ndx(table::Table& table, std::string_view name, const char* expression,
                 std::uint32_t options);

// Builds an existing index again, of the same form, key type and length. Refused for a table that
// is shared (-11, detail 3182): other processes would go on with the old file. An expression that
// does not give the header's key type is -9, detail 3183. 3185: somebody else has locked the file
// (-38); 3186: the header's two unique flags contradict each other (-3).
Result rebuild_ndx(table::Table& table, std::string_view name);
// The same for a file, by its path, whose header is known; its old pages are not looked at.
Result rebuild_ndx(table::Table& table, const std::string& path, const NdxHeader& header);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_NDX_BUILD_H_
