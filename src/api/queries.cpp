#include "api/queries.h"

#include "api/database.h"
#include "api/group.h"
#include "api/index_kinds.h"

namespace vqdb::api {
namespace {

constexpr Operation kQuery{626};
constexpr std::uint32_t kLastColumn = 6;

// The index that a copy stands for, and the operation of its column.
template <typename Slot>
struct Question {
  Slot ask = nullptr;
  index::Index* index = nullptr;
};

template <typename Slot>
Result reach(const VqMember& copy, Slot index::Driver::*slot, Question<Slot>& question) {
  Database* const owner = owner_of(copy, kQuery.detail(0));
  if (owner == nullptr) return Result::bad_handle;
  if (copy.driver_column > kLastColumn) return Result::unavailable;
  question.ask = index::driver(copy.driver_column).*slot;
  if (question.ask == nullptr) return Result::no_driver;
  const Member* const member = member_of(*owner, copy);
  if (member == nullptr) return fail(owner->block, Result::bad_handle, kQuery.detail(0));
  question.index = member->index;
  return Result::ok;
}

template <typename Slot, typename... Arguments>
Result put(const VqMember& copy, Slot index::Driver::*slot, Arguments... arguments) {
  Question<Slot> question;
  if (const Result result = reach(copy, slot, question); !ok(result)) return result;
  return question.ask(*question.index, arguments...);
}

// For operations whose answer is the value asked for.
Result put_for_value(const VqMember& copy, std::int32_t (*index::Driver::*slot)(index::Index&),
                     std::int32_t& value) {
  Question<std::int32_t (*)(index::Index&)> question;
  if (const Result result = reach(copy, slot, question); !ok(result)) return result;
  value = question.ask(*question.index);
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
  const bool multiple = copy.driver_column == kind_of_code(member_kind::kMdx)->column ||
                        copy.driver_column == kind_of_code(member_kind::kFoxcdx)->column;
  if (owner_of(copy, kQuery.detail(0)) != nullptr && !multiple) return code(Result::unavailable);
  std::int32_t count = 0;
  const Result result = put_for_value(copy, &index::Driver::tags, count);
  return ok(result) ? count : code(result);
}

}  // namespace vqdb::api
