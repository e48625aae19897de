// The memo driver table: the operations of every memo layout, as constant data. An empty slot is
// null, and a caller that finds one answers -13.
#ifndef VQDBSYS_MEMO_DRIVER_TABLE_H_
#define VQDBSYS_MEMO_DRIVER_TABLE_H_

#include <cstdint>

#include "frame/handle_pool.h"
#include "frame/result.h"

namespace vqdb::memo {

struct Memo;  // an open memo file; derives from HandleHead

HandlePool<Memo>& memos();

// The rows, in order. A reference is the 10 characters of a memo field; operations that write a
// memo elsewhere rewrite it in place and set *moved, which may be null, to 1. The dBASE III column
// takes texts ended by a zero byte and looks at no length, offset or maximum; every write there
// makes a new memo.
struct Driver {
  // Creates the memo file of a table, "table" or "memo;table", and marks the table. The table must
  // exist; an existing memo file is overwritten.
  Result (*create)(VqBlock&, const char* name);
  // Null on failure, with the result code in the block's result field.
  Memo* (*open)(VqBlock&, const char* name, std::uint32_t mode);
  // The handle is gone whatever the result, unless it is of the other layout (-11).
  Result (*close)(Memo&);
  // Puts bytes behind a memo's text.
  Result (*add)(Memo&, std::int32_t length, const void* data, char* reference, std::int32_t* moved);
  // Replaces a memo's text.
  Result (*update)(Memo&, std::int32_t length, const void* data, char* reference,
                   std::int32_t* moved);
  // Writes a new memo; the dBASE IV column refuses a reference that names one already.
  Result (*create_memo)(Memo&, std::int32_t length, const void* data, char* reference);
  // Reads at most max bytes from an offset on and puts a zero byte behind them. *done, which may be
  // null, is set to 1 once the file's lock is held.
  Result (*get)(Memo&, const char* reference, std::int32_t offset, std::int32_t max, void* buffer,
                std::int32_t* length, std::int32_t* done);
  // The bytes that an open handle on the file needs, or a negative result code.
  std::int32_t (*memory_use)(VqBlock&, const char* name);
  Result (*size)(Memo&, const char* reference, std::int32_t* length);
  Result (*type)(Memo&, const char* reference, std::int32_t* type);
  // See compaction.h.
  Result (*compact)(VqBlock&, const char* name);
};

inline constexpr std::uint32_t kDbase4Column = 0;
inline constexpr std::uint32_t kDbase3Column = 1;
inline constexpr std::uint32_t kDriverColumns = 4;

// REQUIRES column < kDriverColumns.
const Driver& driver(std::uint32_t column);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_DRIVER_TABLE_H_
