// Opening a database: its table, its memo file, which is made when missing, and its index group,
// from descriptions or from the index-list file.
#ifndef VQDBSYS_API_OPEN_H_
#define VQDBSYS_API_OPEN_H_

#include <cstdint>
#include <string>

#include "api/database.h"
#include "api/index_list.h"
#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// Open mode bits of the database; files are opened with the others.
namespace database_mode {
inline constexpr std::uint32_t kNoIndexList = VQ_OPEN_NO_INDEX_LIST;
inline constexpr std::uint32_t kNoMemoCreate = VQ_OPEN_NO_MEMO_CREATE;
inline constexpr std::uint32_t kWithoutMemo = VQ_OPEN_WITHOUT_MEMO & ~kNoMemoCreate;
inline constexpr std::uint32_t kAll = kNoIndexList | kNoMemoCreate | kWithoutMemo;
}  // namespace database_mode

struct OpenRequest {
  const char* name;  // the table, and behind a semicolon the memo file
  std::uint32_t mode;
  std::int32_t buffers;  // of the table
  std::uint32_t options;
  std::int32_t count;
  VqIndexSpec* specs;
  bool marked = false;  // also a group whose list is marked
};

// The request for the indexes of a list.
OpenRequest listed_request(const VqBlock& block, const char* name, ListedIndexes& indexes);

// `failed` becomes the description that could not be opened, else null. On failure nothing stays
// open. Details 6111 to 6118, those of join.h, and those of the rooms below.
Result open(VqBlock& block, const OpenRequest& request, Database*& out, VqIndexSpec*& failed);

// The same with the descriptions of the index-list file. Details 6301 to 6312 as well.
Result use(VqBlock& block, const char* name, std::uint32_t mode, Database*& out);

// The memo file name that a table name implies: the text behind its semicolon, else the table's
// name without extension, which the memo drivers complete with their own.
std::string memo_name_of(const char* table_name);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_OPEN_H_
