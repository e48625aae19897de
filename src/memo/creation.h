// Making memo files. A file is complete before it gets its name, so nobody ever meets half of one.
#ifndef VQDBSYS_MEMO_CREATION_H_
#define VQDBSYS_MEMO_CREATION_H_

#include <string>
#include <string_view>

#include "frame/temporary_file.h"
#include "memo/memo.h"
#include "platform/file.h"

namespace vqdb::memo {

// Writes an empty memo file of this layout, with this base name in its header. Details 2042, 2202.
Result write_empty(VqBlock& block, platform::File& file, Layout layout, std::string_view base_name);

// Makes an empty memo file that is to get this name. Details 2041 and 2042, 2201 and 2202.
Result make_beside(VqBlock& block, TemporaryFile& file, const std::string& path, Layout layout);

// Makes the file by a memo name, over an older one, and marks its table. After a failure the older
// one is what it was. Details 2041 and 2042, 2201 and 2202, 2051 to 2053 (the table's mark).
Result create_for_table(VqBlock& block, const char* name, Layout layout);

// Makes the file by a memo name, whose table is marked already, unless somebody else has made one.
Result create_missing(VqBlock& block, const char* name, Layout layout);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_CREATION_H_
