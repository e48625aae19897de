// Records with their deletion flags, whatever the host works with.
#ifndef VQDBSYS_TABLE_WHOLE_RECORDS_H_
#define VQDBSYS_TABLE_WHOLE_RECORDS_H_

#include "frame/result.h"

namespace vqdb::table {

// Clears run-time flag 1 while it lives, so that records carry their flag byte.
class WholeRecords {
 public:
  explicit WholeRecords(VqBlock& block) : block_(block), flags_(block.runtime_flags) {
    block.runtime_flags = static_cast<std::uint16_t>(flags_ & ~runtime_flag::kFieldsOnly);
  }
  ~WholeRecords() { block_.runtime_flags = flags_; }
  WholeRecords(const WholeRecords&) = delete;
  WholeRecords& operator=(const WholeRecords&) = delete;

 private:
  VqBlock& block_;
  const std::uint16_t flags_;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_WHOLE_RECORDS_H_
