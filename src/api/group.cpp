#include "api/group.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "api/follow_tags.h"
#include "api/index_kinds.h"
#include "frame/bytes.h"

namespace vqdb::api {
namespace {

constexpr Operation kGroup{613};
constexpr std::size_t kTagNameWidth = 10;

// Bits of a copy's flags: which of its texts the database keeps for this member alone.
constexpr std::uint32_t kOwnsName = 1;
constexpr std::uint32_t kOwnsTag = 2;

bool matches_kind(const Member& member, std::uint32_t kind) {
  return member.code() == kind || member.kind->found_as == kind;
}

// A member opened as "file;tag" goes by the name of its file as well.
bool matches_name(const Member& member, std::string_view name) {
  if (name.empty()) return true;
  const std::string_view own = member.file_name();
  return equal_ignoring_case(own, name) || equal_ignoring_case(own.substr(0, own.find(';')), name);
}

bool matches_tag(const Member& member, std::string_view tag) {
  if (tag.empty()) return false;
  const auto trimmed = [](std::string_view name) {
    name = name.substr(0, kTagNameWidth);
    return name.substr(0, name.find_last_not_of(' ') + 1);
  };
  return equal_ignoring_case(trimmed(member.tag), trimmed(tag));
}

std::string_view view(const char* text) { return text != nullptr ? text : std::string_view(); }

VqMember table_copy(const Database& database) {
  VqMember copy = {};
  copy.kind = member_kind::kTable;
  copy.handle = database.table;
  copy.name = database.table_name.c_str();
  copy.filter_program = database.block;
  copy.flags = static_cast<std::uint32_t>(database.members.size());
  return copy;
}

VqMember memo_copy(const Database& database) {
  VqMember copy = {};
  copy.kind = database.memo_kind;
  copy.handle = database.memo;
  copy.name = database.memo_name.c_str();
  copy.flags = kOwnsName;
  copy.driver_column = database.memo_column;
  return copy;
}

VqMember index_copy(const Member& member) {
  VqMember copy = {};
  copy.kind = member.code();
  copy.handle = member.index;
  copy.name = member.file_name().c_str();
  copy.tag = member.is_tag() ? member.tag.c_str() : nullptr;
  copy.key_program = reinterpret_cast<VqExpr*>(member.key.get());
  copy.filter_program = member.filter.get();
  copy.key_length = member.key_length;
  copy.key_type = member.key_type;
  copy.flags = member.is_tag() ? kOwnsTag : kOwnsName;
  copy.driver_column = member.kind->column;
  return copy;
}

}  // namespace

Result find_member(Database& database, std::uint32_t kind, const char* name, const char* tag,
                   VqMember& out) {
  if ((kind & member_kind::kTable) != 0) {
    out = table_copy(database);
  } else if ((kind & member_kind::kMemo) != 0) {
    if (database.memo == nullptr) return fail(database.block, Result::not_found, kGroup.detail(1));
    out = memo_copy(database);
  } else {
    const bool tags = kind_of_tag(kind) != nullptr;
    if (!tags && kind_of_file(kind) == nullptr) {
      return fail(database.block, Result::not_allowed, kGroup.detail(2));
    }
    if (tags) {
      if (const Result result = follow_tags(database); !ok(result)) return result;
    }
    const auto found = std::ranges::find_if(database.members, [&](const Member& member) {
      return matches_kind(member, kind) && matches_name(member, view(name)) &&
             (!tags || matches_tag(member, view(tag)));
    });
    if (found == database.members.end()) {
      return fail(database.block, Result::not_found, kGroup.detail(3));
    }
    out = index_copy(*found);
  }
  out.owner = reinterpret_cast<VqDatabase*>(&database);
  return Result::ok;
}

Database* owner_of(const VqMember& copy, std::int32_t bad_handle) {
  Database* const owner = databases().find(copy.owner);
  if (owner == nullptr) {
    (void)fail(databases().block_of(copy.owner), Result::bad_handle, bad_handle);
  }
  return owner;
}

// By what a member keeps for as long as it is one: the program of its key, or the text of its name.
Member* member_of(Database& owner, const VqMember& copy) {
  const void* const program = copy.key_program;  // by value: the copy is packed
  const char* const name = copy.name;
  const auto found = std::ranges::find_if(owner.members, [&](const Member& member) {
    return member.index != nullptr && member.code() == copy.kind &&
           member.kind->column == copy.driver_column && member.key.get() == program &&
           member.file_name().c_str() == name;
  });
  return found != owner.members.end() ? &*found : nullptr;
}

}  // namespace vqdb::api
