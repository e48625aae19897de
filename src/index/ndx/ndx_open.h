// NDX files as files: made, opened, closed and copied. Names get the extension "NDX".
#ifndef VQDBSYS_INDEX_NDX_NDX_OPEN_H_
#define VQDBSYS_INDEX_NDX_NDX_OPEN_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "index/ndx/ndx_file.h"
#include "table/table.h"

namespace vqdb::index {

// What a key format text such as "C10U", "3N" or "DU" asks for.
struct NdxFormat {
  bool is_ndx3 = false;
  char key_type = 'C';
  std::uint32_t key_length = 0;
  bool unique = false;
};

// Details 3022 (length of a character key) and 3023 (type).
Result parse_ndx_format(VqBlock& block, std::string_view text, NdxFormat& format);

// Makes the file: a header and an empty root page.
Result create_ndx(VqBlock& block, std::string_view name, std::string_view expression,
                  std::string_view format);

// Null on failure, with the result code in the block's result field.
NdxFile* open_ndx(table::Table& context, const char* name, std::uint32_t mode,
                  std::int32_t buffers);

// Flushes, closes and releases; the handle is gone whatever the result.
Result close_ndx(NdxFile& file);

// The bytes that an open handle with this many buffers needs.
Result ndx_memory(VqBlock& block, std::string_view name, std::int32_t buffers, std::int32_t& size);

// Reads and checks the header of a file by its path; the expression is a view of the page.
Result read_ndx_header(VqBlock& block, const std::string& path, NdxPageBytes& page,
                       NdxHeader& header);

// How the keys of this type are ordered under the block's settings.
const KeyOrder& ndx_key_order(const VqBlock& block, char key_type);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_NDX_OPEN_H_
