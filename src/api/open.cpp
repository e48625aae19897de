#include "api/open.h"

#include <array>

#include "api/index_kinds.h"
#include "api/index_list.h"
#include "api/join.h"
#include "frame/file_name.h"
#include "memo/creation.h"
#include "table/describe.h"

namespace vqdb::api {
namespace {

constexpr Operation kOpen{611};

struct MemoLayout {
  std::int32_t table_kind;  // bit of table::kind_of
  std::uint32_t kind;
  std::uint32_t column;
  memo::Layout layout;
};

// A layout without a driver hides the others.
constexpr std::array<MemoLayout, 3> kMemoLayouts = {{
    {32, member_kind::kFoxproMemo, 2, memo::Layout::none},
    {4, member_kind::kDbase4Memo, 0, memo::Layout::dbase4},
    {8, member_kind::kDbase3Memo, 1, memo::Layout::dbase3},
}};

const MemoLayout* memo_layout(std::int32_t table_kind) {
  for (const MemoLayout& layout : kMemoLayouts) {
    if ((table_kind & layout.table_kind) != 0) return &layout;
  }
  return nullptr;
}

std::uint32_t file_mode(const OpenRequest& request) { return request.mode & ~database_mode::kAll; }

// Opens the memo file; where it is missing the mode decides whether it is made, done without, or
// missed.
Result open_memo_file(Database& database, const MemoLayout& layout, const OpenRequest& request) {
  VqBlock& block = database.owner_block();
  const memo::Driver& driver = memo::driver(layout.column);
  if (driver.open == nullptr) return Result::no_driver;
  const std::string name = memo_name_of(request.name);
  database.memo = driver.open(block, name.c_str(), file_mode(request));
  if (database.memo == nullptr) {
    if (block.result != code(Result::not_found)) return static_cast<Result>(block.result);
    if ((request.mode & database_mode::kNoMemoCreate) != 0) {
      if ((request.mode & database_mode::kWithoutMemo) != 0) return Result::ok;
      return fail(block, Result::mismatch, kOpen.detail(2));
    }
    const Result created = memo::create_missing(block, name.c_str(), layout.layout);
    if (!ok(created)) return created;
    database.memo = driver.open(block, name.c_str(), file_mode(request));
    if (database.memo == nullptr) return static_cast<Result>(block.result);
  }
  database.memo_kind = layout.kind;
  database.memo_column = layout.column;
  if (!has_memory([&] { database.memo_name.assign(name); })) {
    return fail(block, Result::no_memory, kOpen.detail(7));
  }
  return Result::ok;
}

Result open_members(Database& database, const OpenRequest& request, VqIndexSpec*& failed) {
  SpecWalk specs(request.specs, request.count, request.options);
  while (VqIndexSpec* const spec = specs.next()) {
    const Result result = join_index(database, *spec);
    if (ok(result)) continue;
    failed = spec;
    return result;
  }
  return Result::ok;
}

Result open_all(Database& database, const OpenRequest& request, VqIndexSpec*& failed) {
  VqBlock& block = database.owner_block();
  std::int32_t kind = 0;
  if (const Result result = table::kind_of(block, request.name, kind); !ok(result)) return result;
  database.mode = request.mode;
  database.table = table::open(block, request.name, file_mode(request), request.buffers);
  if (database.table == nullptr) return static_cast<Result>(block.result);
  if (const MemoLayout* const layout = memo_layout(kind)) {
    const Result result = open_memo_file(database, *layout, request);
    if (!ok(result)) return result;
  }
  if (!has_memory([&] { database.table_name.assign(request.name); })) {
    return fail(block, Result::no_memory, kOpen.detail(6));
  }
  return open_members(database, request, failed);
}

// A group with a name that no list can hold has none.
void list(const OpenRequest& request) {
  SpecWalk specs(request.specs, request.count, request.options);
  const VqIndexSpec* spec = specs.next();
  if (spec == nullptr) return;
  std::string text;
  for (; spec != nullptr; spec = specs.next()) {
    if (spec->name == nullptr || add_line(text, spec->kind, spec->name)) continue;
    text.clear();
    break;
  }
  write_index_list(request.name, text);
}

// The table name without extension and without what stands behind its semicolon.
std::string table_stem(const char* table_name) {
  std::string stem = replace_extension(table_name, "");
  stem.pop_back();
  return stem;
}

}  // namespace

Result open(VqBlock& block, const OpenRequest& request, Database*& out, VqIndexSpec*& failed) {
  failed = nullptr;
  if ((request.options & (SpecWalk::kArray | SpecWalk::kChain)) == 0) {
    return fail(block, Result::not_allowed, kOpen.detail(1));
  }
  if (!request.marked && is_marked(request.name)) {
    return fail(block, Result::not_allowed, kOpen.detail(8));
  }
  Database* const database = databases().open(&block);
  if (database == nullptr) return fail(block, Result::no_memory, kOpen.detail(3));
  Result result = Result::no_memory;
  (void)has_memory([&] { result = open_all(*database, request, failed); });
  if (!ok(result)) {
    const std::int32_t detail = block.detail;
    (void)close(*database);
    block.detail = detail;
    return result;
  }
  database->signature = kHandleSignature;
  out = database;
  if ((request.mode & database_mode::kNoIndexList) == 0) (void)has_memory([&] { list(request); });
  return Result::ok;
}

OpenRequest listed_request(const VqBlock& block, const char* name, ListedIndexes& indexes) {
  return {.name = name,
          .mode = 0,
          .buffers = static_cast<std::int32_t>(block.table_access),
          .options = SpecWalk::kChain,
          .count = static_cast<std::int32_t>(indexes.size()),
          .specs = indexes.empty() ? nullptr : &indexes.front().spec};
}

Result use(VqBlock& block, const char* name, std::uint32_t mode, Database*& out) {
  ListedIndexes indexes;
  const Result read = read_index_list(block, name, indexes);
  if (!ok(read)) return read;
  OpenRequest request = listed_request(block, name, indexes);
  request.mode = mode;
  VqIndexSpec* failed = nullptr;
  return open(block, request, out, failed);
}

std::string memo_name_of(const char* table_name) {
  const std::string_view given = behind_semicolon(table_name);
  return given.empty() ? table_stem(table_name) : std::string(given);
}

}  // namespace vqdb::api
