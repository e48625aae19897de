// MDX files as files: made, opened, closed; their tags listed and made active. Names get the
// extension "MDX".
#ifndef VQDBSYS_INDEX_MDX_MDX_FILE_H_
#define VQDBSYS_INDEX_MDX_MDX_FILE_H_

#include <cstdint>
#include <string_view>

#include "frame/handle_pool.h"
#include "index/mdx/mdx_store.h"
#include "index/mdx/mdx_tag.h"
#include "table/table.h"

namespace vqdb::index {

class MdxFile : public Index {
 public:
  MdxFile(VqBlock& owner, const MdxHead& head, const table::Table& context)
      : store(owner, head), table(&context) {
    stand_for(store, nullptr);
  }

  MdxStore store;
  const void* table;  // the file's own; it may have been closed
};

HandlePool<MdxFile>& mdx_files();

// Makes a file without tags, beside its place, which it takes in one step when it is complete. For
// a shared table only where there is none yet. Details 1024 (shared table: there is one), 1025 (not
// created), 1026 (not written), 1027 (somebody else has locked the file that is there).
Result create_mdx(table::Table& table, std::string_view name);
// The same unless there is one by now; `made` says whether it was this call.
Result create_missing_mdx(table::Table& table, std::string_view name, bool& made);

// Null on failure, with the result code in the block's result field. Details 1154 and 1155 (no
// memory) and those of read_mdx_head.
MdxFile* open_mdx(table::Table& context, const char* name, std::uint32_t mode,
                  std::int32_t buffers);

// Flushes, closes and releases, with the handles of the tags; they are gone whatever the result.
Result close_mdx(MdxFile& file);

// The bytes that an open handle with this many buffers needs. Detail 1251.
Result mdx_memory(VqBlock& block, std::string_view name, std::int32_t buffers, std::int32_t& size);

// The handle of a tag, the same one for as long as the file is open and has the tag; it is live
// while it was activated more often than deactivated. Null on failure, with the result code in the
// block's result field. Details 1002 (no such tag), 1003 (no memory) and those of MdxTag::set_up.
MdxTag* activate_tag(MdxFile& file, std::string_view name);
Result deactivate_tag(MdxTag& tag);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_MDX_FILE_H_
