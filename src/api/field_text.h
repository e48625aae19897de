// One field of a host's record as a text.
#ifndef VQDBSYS_API_FIELD_TEXT_H_
#define VQDBSYS_API_FIELD_TEXT_H_

#include "frame/result.h"
#include "table/table.h"

namespace vqdb::api {

// Copies the field's bytes out of the record and puts a zero byte behind them. An unknown name
// gives -4, detail 222.
Result extract_field(const table::Table& table, const void* record, const char* name, char* out);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_FIELD_TEXT_H_
