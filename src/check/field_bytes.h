// Which bytes a field's type has. Other programs are allowed their habits: numbers anywhere in
// their field, "00000000" for no date.
#ifndef VQDBSYS_CHECK_FIELD_BYTES_H_
#define VQDBSYS_CHECK_FIELD_BYTES_H_

#include <string_view>

namespace vqdb::check {

// Tells whether the bytes are ones of the type.
using BytesRule = bool (*)(std::string_view bytes);

// Null for types that have all bytes.
BytesRule bytes_rule(char type);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_FIELD_BYTES_H_
