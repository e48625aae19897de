// Memo operations of a database, through the memo driver table.
#ifndef VQDBSYS_API_MEMOS_H_
#define VQDBSYS_API_MEMOS_H_

#include <cstdint>

#include "api/database.h"
#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// On an open database; -11 without a detail code when it has no memo file.
Result get_memo(Database& database, const char* reference, std::int32_t offset, std::int32_t max,
                void* buffer, std::int32_t* length, std::int32_t* done);
Result memo_size(Database& database, const char* reference, std::int32_t* length);
Result memo_type(Database& database, const char* reference, std::int32_t* type);

// On a memo file by its name, by the layout of the block's dialect.
Result memo_memory(VqBlock& block, const char* name, std::int32_t& size);
Result compact_memos(VqBlock& block, const char* name);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_MEMOS_H_
