// What an open MDX file says of itself and of its tags.
#ifndef VQDBSYS_INDEX_MDX_MDX_DESCRIBE_H_
#define VQDBSYS_INDEX_MDX_MDX_DESCRIBE_H_

#include <cstdint>

#include "index/mdx/mdx_file.h"

namespace vqdb::index {

// Copies key and FOR expression, each with its closing zero. Details 1052 (null), 1053 (a buffer
// too small for both).
Result tag_expression(const MdxTag& tag, char* text, std::int32_t size, std::int32_t* flags);
// The length of the key expression; the flags get that of the FOR expression. Detail 1062.
Result tag_expression_length(const MdxTag& tag, std::int32_t* length, std::int32_t* flags);

// The number of tags, or a negative result code.
std::int32_t count_tags(MdxFile& file);
// An entry of 19 bytes for each tag: header page, name, flags. In the order of the tag table, or of
// the names. Details of reading the tags' headers; 1282 or 1292 (null).
Result list_tags(MdxFile& file, void* list, bool by_name);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_MDX_DESCRIBE_H_
