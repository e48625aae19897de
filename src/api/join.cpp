#include "api/join.h"

#include <cstring>
#include <string>
#include <string_view>

#include "api/index_kinds.h"
#include "frame/file_name.h"
#include "index/open/key_tree.h"

namespace vqdb::api {
namespace {

constexpr Operation kOpen{611};
constexpr Operation kJoin{612};

// Bits of a specification's kind code that belong to the host.
constexpr std::uint32_t kHostBits = 0x3000;

// A tag list: header page (4 bytes), name (11), flags (4) for each tag.
constexpr std::size_t kTagEntryBytes = 19;
constexpr std::size_t kTagNameAt = 4;
constexpr std::size_t kTagNameBytes = 11;

constexpr std::int32_t kFilterBytes = 250;

// The flag of a FOXIDX file that is served by the column it is opened through.
constexpr std::int32_t kCompactFoxidx = 2048;
constexpr std::uint32_t kPlainFoxidxColumn = 3;

// The newest member, still empty; null without memory.
Member* add_member(Database& database, std::uint32_t kind, std::uint32_t column) {
  if (!has_memory([&] { database.members.emplace_back(); })) {
    (void)fail(database.block, Result::no_memory, kOpen.detail(3));
    return nullptr;
  }
  Member& member = database.members.back();
  member.kind = kind;
  member.column = column;
  return &member;
}

Result compile(Database& database, const char* text, Program& program, expr::ResultShape& shape) {
  expr::Expression* compiled = nullptr;
  const Result result = expr::parse(database.owner_block(), text,
                                    expr::Binding{.table = database.table}, compiled, shape);
  program.reset(compiled);
  return result;
}

Result compile_key(Database& database, const char* text, Member& member) {
  expr::ResultShape shape;
  const Result result = compile(database, text, member.key, shape);
  member.key_length = shape.length;
  member.key_type = shape.type;
  return result;
}

Result compile_filter(Database& database, const char* text, Member& member) {
  if (*text == '\0') return Result::ok;
  expr::ResultShape shape;
  const Result result = compile(database, text, member.filter, shape);
  if (ok(result) && shape.type != 'L') {
    return fail(database.block, Result::operand, kJoin.detail(5));
  }
  return result;
}

Result open_file(Database& database, const char* name, Member& member) {
  member.index = member.driver().open(*database.table, name, table::open_mode_of(*database.table),
                                      member.buffers);
  return member.index != nullptr ? Result::ok : static_cast<Result>(database.block->result);
}

Result open_index_file(Database& database, const VqIndexSpec& spec, Member& member) {
  member.buffers = spec.parameter;
  if (const Result result = open_file(database, spec.name, member); !ok(result)) return result;
  if (!has_memory([&] { member.name.assign(spec.name); })) {
    return fail(database.block, Result::no_memory, kOpen.detail(5));
  }
  return Result::ok;
}

Result activate_tag(Database& database, Member& tag) {
  if (tag.driver().actidx == nullptr) return Result::no_driver;
  tag.index = tag.driver().actidx(*tag.file->index, tag.tag.c_str());
  return tag.index != nullptr ? Result::ok : static_cast<Result>(database.block->result);
}

// An NDX3 header does not tell dates from numbers; only the expression does.
void mark_dates(Member& member) {
  if (member.kind == member_kind::kNdx3 && member.key_type == 'D') {
    member.index->key_tree().key_type = 'D';
  }
}

Result join_single(Database& database, const VqIndexSpec& spec, Member& member) {
  if (const Result result = open_index_file(database, spec, member); !ok(result)) {
    return result;
  }
  const platform::Bytes room = platform::allocate_bytes(kMaxExpressionBytes);
  if (room == nullptr) return fail(database.block, Result::no_memory, kJoin.detail(6));
  auto* const text = reinterpret_cast<char*>(room.get());
  std::int32_t flags = 0;
  const Result known = member.driver().expr(*member.index, text, kMaxExpressionBytes, &flags);
  if (!ok(known)) return known;
  if (member.kind == member_kind::kFoxidx && (flags & kCompactFoxidx) == 0) {
    member.column = kPlainFoxidxColumn;
  }
  if (const Result result = compile_key(database, text, member); !ok(result)) return result;
  mark_dates(member);
  return Result::ok;
}

Result fill_tag(Database& database, Member& tag) {
  const platform::Bytes room = platform::allocate_bytes(kMaxExpressionBytes);
  if (room == nullptr) return fail(database.block, Result::no_memory, kJoin.detail(1));
  const platform::Bytes filter_room = platform::allocate_bytes(kFilterBytes);
  if (filter_room == nullptr) return fail(database.block, Result::no_memory, kJoin.detail(2));
  auto* const key = reinterpret_cast<char*>(room.get());
  auto* const filter = reinterpret_cast<char*>(filter_room.get());
  std::int32_t flags = 0;
  const Result known = tag.driver().expr(*tag.index, key, kMaxExpressionBytes, &flags);
  if (!ok(known)) return known;
  if (*key == '\0') return fail(database.block, Result::operand, kJoin.detail(4));
  std::strncpy(filter, key + std::strlen(key) + 1, kFilterBytes - 1);
  if (const Result result = compile_filter(database, filter, tag); !ok(result)) return result;
  return compile_key(database, key, tag);
}

Result join_tag(Database& database, const Member& file, std::uint32_t kind, std::string_view name) {
  Member* const tag = add_member(database, kind, file.column);
  if (tag == nullptr) return Result::no_memory;
  tag->file = &file;
  if (!has_memory([&] { tag->tag.assign(name); })) {
    return fail(database.block, Result::no_memory, kJoin.detail(3));
  }
  const Result activated = activate_tag(database, *tag);
  return ok(activated) ? fill_tag(database, *tag) : activated;
}

Result join_all_tags(Database& database, const Member& file, std::uint32_t kind) {
  const index::Driver& driver = file.driver();
  if (driver.tags == nullptr || driver.listag == nullptr) return Result::no_driver;
  const std::int32_t count = driver.tags(*file.index);
  if (count <= 0) return static_cast<Result>(count);
  const auto tags = static_cast<std::size_t>(count);
  const platform::Bytes list = platform::allocate_bytes(tags * kTagEntryBytes);
  if (list == nullptr) return fail(database.block, Result::no_memory, kOpen.detail(4));
  if (const Result result = driver.listag(*file.index, list.get()); !ok(result)) return result;
  for (std::size_t i = 0; i < tags; ++i) {
    const auto* const entry =
        reinterpret_cast<const char*>(list.get() + i * kTagEntryBytes + kTagNameAt);
    std::string_view name(entry, kTagNameBytes);
    name = name.substr(0, name.find('\0'));
    if (const Result result = join_tag(database, file, kind, name); !ok(result)) return result;
  }
  return Result::ok;
}

Result join_multiple(Database& database, const VqIndexSpec& spec, std::uint32_t tag_kind,
                     Member& file) {
  if (const Result result = open_index_file(database, spec, file); !ok(result)) {
    return result;
  }
  const std::string_view only = behind_semicolon(spec.name);
  return only.empty() ? join_all_tags(database, file, tag_kind)
                      : join_tag(database, file, tag_kind, only);
}

}  // namespace

Result join_index(Database& database, const VqIndexSpec& spec) {
  const IndexKind* const kind = kind_of_code(spec.kind & ~kHostBits);
  if (kind == nullptr) return Result::ok;
  if (spec.name == nullptr) return Result::out_of_range;
  if (index::driver(kind->column).open == nullptr) return Result::no_driver;
  const std::size_t before = database.members.size();
  Member* const member = add_member(database, kind->code, kind->column);
  if (member == nullptr) return Result::no_memory;
  const Result result = kind->tag_code != 0 ? join_multiple(database, spec, kind->tag_code, *member)
                                            : join_single(database, spec, *member);
  if (ok(result)) return result;
  const std::int32_t detail = database.block->detail;
  while (database.members.size() > before) (void)close_last_member(database);
  database.block->detail = detail;
  return result;
}

Result reopen_member(Database& database, Member& member) {
  if (member.file != nullptr) return activate_tag(database, member);
  const Result result = open_file(database, member.name.c_str(), member);
  if (ok(result)) mark_dates(member);
  return result;
}

}  // namespace vqdb::api
