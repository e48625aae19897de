// Tags built from their tables, rebuilt and dropped.
#ifndef VQDBSYS_INDEX_MDX_MDX_BUILD_H_
#define VQDBSYS_INDEX_MDX_MDX_BUILD_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "frame/result.h"
#include "index/mdx/mdx_file.h"
#include "table/table.h"

namespace vqdb::index {

struct TagRequest {
  const char* name;
  const char* key;
  const char* format;  // null: from the key expression, and the options
  const char* filter;  // may be null
  std::uint32_t options;

  static constexpr std::uint32_t kUnique = 1;
  static constexpr std::uint32_t kDescending = 2;
};

// Adds a tag to an open file. It is there when it is complete, and not at all after a failure.
// Details 1100 and 1102 to 1108, 10315 (others have removed the file), 6511 (FOR
// expression not logical), and those of sort and keys.
Result add_tag(MdxFile& file, const TagRequest& request);

// The same for a file by its name, which is made when there is none, and removed again on failure
// unless others have added a tag to it.
Result build_mdx(table::Table& table, const char* name, const TagRequest& request);

// Builds every tag again into a new file, which takes the old one's place in one step. Details 1182
// (shared table), 1183 (an expression gives another key type), 1186 (the table could not be
// marked, the new file is in place), 1187 (somebody else has locked the file). A tag whose header
// is damaged is built as a request for a tag of its name has it or, without one, from what header
// and tag table still say of its expressions.
Result rebuild_mdx(table::Table& table, const char* name,
                   std::span<const TagRequest> requests = {});

// Takes a tag out of an open file; its blocks go to the free list. Details 1262 (no such tag), 1263
// (read-only).
Result drop_tag(MdxFile& file, std::string_view name);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_MDX_BUILD_H_
