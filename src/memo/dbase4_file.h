// dBASE IV memo files as files: made, opened, closed, and their header read anew.
#ifndef VQDBSYS_MEMO_DBASE4_FILE_H_
#define VQDBSYS_MEMO_DBASE4_FILE_H_

#include <cstdint>
#include <string>

#include "memo/memo.h"

namespace vqdb::memo {

// Makes the file by a memo name and marks its table.
Result create_dbase4(VqBlock& block, const char* name);

// Null on failure, with the result code in the block's result field.
Memo* open_dbase4(VqBlock& block, const char* name, std::uint32_t mode);
Memo* open_dbase4_file(VqBlock& block, const std::string& path, std::uint32_t mode);
// The handle is gone whatever the result.
Result close_dbase4(Memo& memo);

// Reads the header and takes the size of the file again, and forgets the free chain.
Result refresh_dbase4(Memo& memo);

// The bytes that an open handle on a memo file of either layout needs, or a negative result code.
std::int32_t memory_use(VqBlock& block, const char* name);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_DBASE4_FILE_H_
