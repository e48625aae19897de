// Questions to one member of a database's index group, through the index driver table.
#ifndef VQDBSYS_API_QUERIES_H_
#define VQDBSYS_API_QUERIES_H_

#include <cstdint>

#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// All give -1 for a copy whose driver column is beyond 6, -13 where the column lacks the operation,
// and -10, detail 6260, for a copy that stands for no live index.

// The key expression, its zero byte and, for tags, the filter expression.
Result key_expression(const VqMember& copy, char* text, std::int32_t size, std::int32_t* flags);
Result key_expression_length(const VqMember& copy, std::int32_t* length, std::int32_t* flags);
Result key_length(const VqMember& copy, std::int32_t& length);
Result key_type(const VqMember& copy, std::int32_t& type);
Result list_tags(const VqMember& copy, bool sorted, void* list);
// The number of tags of a multiple-index file; -1 for any other member.
std::int32_t count_tags(const VqMember& copy);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_QUERIES_H_
