// The records of a table: their deletion flags, their bytes, and the memos that they name.
#ifndef VQDBSYS_CHECK_TABLE_RECORDS_H_
#define VQDBSYS_CHECK_TABLE_RECORDS_H_

#include <cstdint>
#include <vector>

#include "check/table_form.h"
#include "frame/progress.h"

namespace vqdb::check {

// A memo field that names a memo.
struct MemoReference {
  std::uint64_t block = 0;  // ten digits can name more than a file holds
  std::uint32_t record = 0;
  std::uint32_t field = 0;  // from 0

  std::uint64_t offset_in(const TableForm& form) const {
    return form.offset_of(record) + form.fields[field].offset;
  }
};

// What other files and repairs need to know of the records.
struct RecordFacts {
  std::vector<MemoReference> references;
  std::vector<std::uint32_t> wild_flags;  // records whose deletion flag is none
  std::uint64_t wild_references = 0;      // memo fields that may have named a memo
};

// Reads every record. REQUIRES form.has_records.
Result check_records(HeldFile& file, const TableForm& form, FileFindings& findings,
                     Progress& progress, RecordFacts& facts);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_TABLE_RECORDS_H_
