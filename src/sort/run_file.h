// Sorted runs of entries in temporary files. A file is gone with its last run.
#ifndef VQDBSYS_SORT_RUN_FILE_H_
#define VQDBSYS_SORT_RUN_FILE_H_

#include <cstdint>
#include <memory>
#include <span>

#include "frame/bytes.h"
#include "frame/result.h"
#include "platform/file.h"
#include "platform/memory.h"

namespace vqdb::sort {

struct Run {
  std::shared_ptr<platform::File> file;
  std::uint64_t offset = 0;
  std::uint64_t entries = 0;
};

// Writes runs one behind the other into a temporary file of its own.
class RunWriter {
 public:
  RunWriter(VqBlock& block, std::size_t entry_bytes) : block_(block), entry_bytes_(entry_bytes) {}

  // Makes the file and the buffer.
  Result start();
  Result add(const Byte* entry);
  // Ends a run and hands it out.
  Result end_run(Run& run);

 private:
  Result write_buffer();

  VqBlock& block_;
  const std::size_t entry_bytes_;
  std::shared_ptr<platform::File> file_;
  platform::Bytes buffer_;
  std::size_t buffer_bytes_ = 0;
  std::size_t used_ = 0;
  std::uint64_t written_ = 0;  // bytes in the file
  Run run_;
};

// Reads a run from its first entry to its last.
class RunReader {
 public:
  // The buffer must hold at least one entry.
  RunReader(const Run& run, std::size_t entry_bytes, std::span<Byte> buffer);

  // Null behind the last entry; valid until the next call.
  Result next(VqBlock& block, const Byte*& entry);

 private:
  Run run_;
  std::size_t entry_bytes_;
  std::span<Byte> buffer_;  // a whole number of entries
  std::size_t at_ = 0;
  std::size_t filled_ = 0;
};

}  // namespace vqdb::sort

#endif  // VQDBSYS_SORT_RUN_FILE_H_
