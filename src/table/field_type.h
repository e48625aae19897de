// The type text of a new field ("C20", "N10.2", "D"): which types a dialect admits, and what
// lengths they may have.
#ifndef VQDBSYS_TABLE_FIELD_TYPE_H_
#define VQDBSYS_TABLE_FIELD_TYPE_H_

#include <string_view>

#include "frame/result.h"
#include "table/field.h"

namespace vqdb::table {

// Sets the field's type, length and decimals. Details 159 (character length), 160 (numeric length
// or decimals) and 161 (type).
Result parse_field_type(VqBlock& block, std::string_view text, Field& field);

// Whether any dialect has fields of this type.
bool is_field_type(char type);
// Whether such a field can have this length and these decimals. Other programs make character and
// numeric fields longer than this one does. REQUIRES is_field_type(field.type).
bool is_field_shape(const Field& field);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_FIELD_TYPE_H_
