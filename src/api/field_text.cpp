#include "api/field_text.h"

#include "api/record_keys.h"
#include "frame/bytes.h"

namespace vqdb::api {
namespace {

// A field is looked up as dDfldno does, with its detail code.
constexpr Operation kFieldNumber{22};

}  // namespace

Result extract_field(const table::Table& table, const void* record, const char* name, char* out) {
  VqBlock& block = table::block_of(table);
  const table::Field* const field = table::find_field(table, name);
  if (field == nullptr) return fail(block, Result::out_of_range, kFieldNumber.detail(2));
  const std::size_t offset = fields_only(block) ? field->offset - 1 : field->offset;
  copy_short(out, static_cast<const char*>(record) + offset, field->length);
  out[field->length] = '\0';
  return Result::ok;
}

}  // namespace vqdb::api
