// Compaction: a table's memo file rebuilt with only the memos that its records name, in record
// order and without free space.
#ifndef VQDBSYS_MEMO_COMPACTION_H_
#define VQDBSYS_MEMO_COMPACTION_H_

#include "frame/result.h"

namespace vqdb::memo {

// Rebuilds the memo file of a table, "table" or "memo;table". The table must not be open. Its
// references stay as they are, so they name the wrong blocks of the new file: a host that goes on
// using the table has to rewrite them itself. A failure leaves the old memo file untouched and no
// other file behind.
Result compact(VqBlock& block, const char* name);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_COMPACTION_H_
