// dBASE III memo files: blocks of 512 bytes, texts that end at the first byte 0x1A, and nothing
// that is ever reused: every write puts a whole new memo behind all others. driver_table.h has the
// contracts; where its operations take a length, these take a text ended by a zero byte instead.
#ifndef VQDBSYS_MEMO_DBASE3_MEMO_H_
#define VQDBSYS_MEMO_DBASE3_MEMO_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "memo/memo.h"

namespace vqdb::memo {

// Makes the file by a memo name and marks its table.
Result create_dbase3(VqBlock& block, const char* name);

// Null on failure, with the result code in the block's result field.
Memo* open_dbase3(VqBlock& block, const char* name, std::uint32_t mode);
Memo* open_dbase3_file(VqBlock& block, const std::string& path, std::uint32_t mode);
// Stores the next free block, if it changed. The handle is gone whatever the result.
Result close_dbase3(Memo& memo);

// Writes the text as a new memo and rewrites the reference.
Result write_dbase3(Memo& memo, const void* text, char* reference, std::int32_t* moved);
// Copies the whole text, however long, and a zero byte: the caller's offset and maximum are not
// looked at.
Result get_dbase3(Memo& memo, const char* reference, void* buffer, std::int32_t* length,
                  std::int32_t* done);
// How many bytes lie before the first 0x1A or 0, either of which ends a text.
std::size_t dbase3_text_size(std::span<const std::uint8_t> bytes);
Result size_dbase3(Memo& memo, const char* reference, std::int32_t* length);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_DBASE3_MEMO_H_
