// What the header and field list of a table file say, and what they have to mean: a damaged length
// or count is worked out from the rest of the file where only one value fits it.
#ifndef VQDBSYS_CHECK_TABLE_FORM_H_
#define VQDBSYS_CHECK_TABLE_FORM_H_

#include <cstdint>
#include <vector>

#include "check/findings.h"
#include "check/held_file.h"
#include "table/field.h"
#include "table/header.h"

namespace vqdb::check {

enum class RecordsEnd : std::uint8_t { mark, file_end, other };

struct TableForm {
  table::Header header;  // as it stands
  std::vector<table::Field> fields;
  std::uint64_t fields_end = 0;  // where the field list ends

  // As they have to be; the count is that of the whole records. Whether a table has a memo file
  // only that file tells for certain.
  Byte version = table::version::kPlain;
  std::uint32_t header_length = 0;
  std::uint32_t record_length = 0;
  std::uint32_t count = 0;

  bool ends_fields = true;  // an end byte follows the field list
  RecordsEnd end = RecordsEnd::file_end;
  bool is_table = false;          // fields and records can be told
  bool has_records = false;       // and the records can be read
  bool has_sure_lengths = false;  // the file or the field list bears out where the records are

  std::uint64_t offset_of(std::uint64_t recno) const {
    return header_length + (recno - 1) * record_length;
  }
  bool has_memo_fields() const;
  // Whether an open table has just these records.
  bool counts_right() const {
    return header.header_length == header_length && header.record_length == record_length &&
           header.count == count;
  }
};

Result read_table_form(HeldFile& file, FileFindings& findings, TableForm& form);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_TABLE_FORM_H_
