// A second file with the bytes of an index file.
#ifndef VQDBSYS_INDEX_OPEN_FILE_COPY_H_
#define VQDBSYS_INDEX_OPEN_FILE_COPY_H_

#include <string_view>

#include "frame/result.h"

namespace vqdb::index {

// Names get the extension. Digits of the operation's details: 2 (the same file), 3 (not created), 4
// (not read), 5 and 6 (not written).
Result copy_index_file(VqBlock& block, std::string_view from, std::string_view to,
                       std::string_view extension, Operation operation);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_OPEN_FILE_COPY_H_
