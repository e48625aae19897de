// Opening and creating files on behalf of an operation: the system's failures as result codes with
// their detail codes.
#ifndef VQDBSYS_FRAME_SYSTEM_FILE_H_
#define VQDBSYS_FRAME_SYSTEM_FILE_H_

#include <string>

#include "frame/result.h"
#include "platform/file.h"

namespace vqdb {

// The result code for a failed open or create.
Result open_result(platform::Error error);

// ok, or io for every failed transfer but a full disk, which is io as well: a short transfer and a
// failed one look alike to callers.
inline Result transfer_result(const platform::Outcome& outcome) {
  return outcome.ok() ? Result::ok : Result::io;
}

// With run-time flag 4, hands everything written to the file to the device.
platform::Outcome force_out(const VqBlock& block, platform::File& file);

// Opens an existing file: read-write, or with mode bit 1 read-only where read-write is denied.
// Details 10421 (not found) and 10422.
Result open_file(VqBlock& block, const std::string& path, std::uint32_t mode, platform::File& file);

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_SYSTEM_FILE_H_
