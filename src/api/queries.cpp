#include "api/queries.h"

#include "api/database.h"
#include "api/group.h"
#include "api/index_kinds.h"

namespace vqdb::api {
namespace {

constexpr Operation kQuery{626};
constexpr std::uint32_t kLastColumn = 6;

// The index that a copy stands for, whose column has the operation.
template <typename Slot>
Result find_index(const VqMember& copy, Slot index::Driver::*slot, Member*& member) {
  Database* const owner = owner_of(copy, kQuery.detail(0));
  if (owner == nullptr) return Result::bad_handle;
  if (copy.driver_column > kLastColumn) return Result::unavailable;
  return member_with(slot, *owner, copy, kQuery, member);
}

template <typename Slot, typename... Arguments>
Result put(const VqMember& copy, Slot index::Driver::*slot, Arguments... arguments) {
  Member* member = nullptr;
  if (const Result result = find_index(copy, slot, member); !ok(result)) return result;
  return (member->driver().*slot)(*member->index, arguments...);
}

// For operations whose answer is the value asked for.
Result put_for_value(const VqMember& copy, std::int32_t (*index::Driver::*slot)(index::Index&),
                     std::int32_t& value) {
  Member* member = nullptr;
  if (const Result result = find_index(copy, slot, member); !ok(result)) return result;
  value = (member->driver().*slot)(*member->index);
  return Result::ok;
}

}  // namespace

Result key_expression(const VqMember& copy, char* text, std::int32_t size, std::int32_t* flags) {
  return put(copy, &index::Driver::expr, text, size, flags);
}

Result key_expression_length(const VqMember& copy, std::int32_t* length, std::int32_t* flags) {
  return put(copy, &index::Driver::explen, length, flags);
}

Result key_length(const VqMember& copy, std::int32_t& length) {
  return put_for_value(copy, &index::Driver::keylen, length);
}

Result key_type(const VqMember& copy, std::int32_t& type) {
  return put_for_value(copy, &index::Driver::keytyp, type);
}

Result list_tags(const VqMember& copy, bool sorted, void* list) {
  return put(copy, sorted ? &index::Driver::sortag : &index::Driver::listag, list);
}

std::int32_t count_tags(const VqMember& copy) {
  const bool multiple =
      kind_of_file(copy.kind) != nullptr && tagged_kind_of_column(copy.driver_column) != nullptr;
  if (owner_of(copy, kQuery.detail(0)) != nullptr && !multiple) return code(Result::unavailable);
  std::int32_t count = 0;
  const Result result = put_for_value(copy, &index::Driver::tags, count);
  return ok(result) ? count : code(result);
}

}  // namespace vqdb::api
