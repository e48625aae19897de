// The fields of an open table by their names, hashed once, so that a host that reads fields one by
// one by name finds each as fast among hundreds as among few.
#ifndef VQDBSYS_TABLE_FIELD_NAMES_H_
#define VQDBSYS_TABLE_FIELD_NAMES_H_

#include <span>
#include <string_view>

#include "platform/memory.h"
#include "table/field.h"

namespace vqdb::table {

class FieldNames {
 public:
  // Of two fields with one name the first counts. False without memory. REQUIRES fields that stay
  // where they are.
  bool take_in(std::span<const Field> fields);
  // The field of this name, any case; null when there is none.
  const Field* find(std::string_view name) const;

 private:
  struct Key;

  // The slot of the name, or the empty one where it would go.
  std::uint16_t& slot_of(const Key& key) const;

  std::span<const Field> fields_;
  platform::Array<std::uint16_t> slots_;  // numbers of fields, from 1; 0: empty
  unsigned shift_ = 0;                    // of a hash, to that of a slot
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_FIELD_NAMES_H_
