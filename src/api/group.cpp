#include "api/group.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "api/index_kinds.h"
#include "frame/bytes.h"

namespace vqdb::api {
namespace {

constexpr Operation kGroup{613};
constexpr std::size_t kTagNameWidth = 10;

// Bits of a copy's flags: which of its texts the database keeps for this member alone.
constexpr std::uint32_t kOwnsName = 1;
constexpr std::uint32_t kOwnsTag = 2;

bool is_tag(std::uint32_t kind) {
  return kind == member_kind::kMdxTag || kind == member_kind::kFoxcdxTag;
}

bool matches_kind(const Member& member, std::uint32_t kind) {
  return member.kind == kind || (kind == member_kind::kNdx && member.kind == member_kind::kNdx3);
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
  copy.kind = member.kind;
  copy.handle = member.index;
  copy.name = member.file_name().c_str();
  copy.tag = is_tag(member.kind) ? member.tag.c_str() : nullptr;
  copy.key_program = reinterpret_cast<VqExpr*>(member.key.get());
  copy.filter_program = member.filter.get();
  copy.key_length = member.key_length;
  copy.key_type = member.key_type;
  copy.flags = is_tag(member.kind) ? kOwnsTag : kOwnsName;
  copy.driver_column = member.column;
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
    if (!is_tag(kind) && kind_of_code(kind) == nullptr) {
      return fail(database.block, Result::not_allowed, kGroup.detail(2));
    }
    const auto found = std::ranges::find_if(database.members, [&](const Member& member) {
      return matches_kind(member, kind) && matches_name(member, view(name)) &&
             (!is_tag(kind) || matches_tag(member, view(tag)));
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

const Member* member_of(const Database& owner, const VqMember& copy) {
  const void* const handle = copy.handle;  // by value: the copy is packed
  const auto is_like = [&](const Member& member) {
    return member.index != nullptr && member.kind == copy.kind &&
           member.column == copy.driver_column;
  };
  for (const Member& member : owner.members) {
    if (member.index == handle && is_like(member)) return &member;
  }
  for (const Member& member : owner.members) {
    if (is_like(member) && std::ranges::count(member.former, handle) != 0) return &member;
  }
  return nullptr;
}

}  // namespace vqdb::api
