// The operations on the memos of an open dBASE IV file: texts of any bytes in runs of blocks, which
// are extended and replaced in place where the number of blocks stays, and moved where it changes.
// driver_table.h has their contracts.
#ifndef VQDBSYS_MEMO_DBASE4_MEMO_H_
#define VQDBSYS_MEMO_DBASE4_MEMO_H_

#include <cstdint>
#include <functional>
#include <span>

#include "frame/bytes.h"
#include "memo/memo.h"

namespace vqdb::memo {

Result add_dbase4(Memo& memo, std::int32_t length, const void* data, char* reference,
                  std::int32_t* moved);
Result update_dbase4(Memo& memo, std::int32_t length, const void* data, char* reference,
                     std::int32_t* moved);
Result new_dbase4(Memo& memo, std::int32_t length, const void* data, char* reference);
// Writes a new memo of `length` bytes (1 or more) in its final place, whose text `next` hands over
// piece by piece; each is used before the next is asked for.
using NextPiece = std::function<Result(std::span<const Byte>& piece)>;
Result new_dbase4_in_pieces(Memo& memo, std::uint32_t length, const NextPiece& next);

Result get_dbase4(Memo& memo, const char* reference, std::int32_t offset, std::int32_t max,
                  void* buffer, std::int32_t* length, std::int32_t* done);
Result size_dbase4(Memo& memo, const char* reference, std::int32_t* length);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_DBASE4_MEMO_H_
