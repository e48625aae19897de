#include "index/mdx/mdx_file.h"

#include <algorithm>
#include <limits>
#include <string>

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "index/build/build_hold.h"
#include "index/open/key_position.h"
#include "platform/path.h"
#include "table/locks.h"

namespace vqdb::index {
namespace {

constexpr Operation kActivate{100};
constexpr Operation kCreate{102};
constexpr Operation kOpen{115};
constexpr Operation kClose{124};
constexpr Operation kMemory{125};

constexpr std::uint64_t kHandleBytes = 4096;
constexpr std::uint64_t kBytesBesideABuffer = 29;

Result open_file_and_handle(table::Table& context, const char* name, std::uint32_t mode,
                            std::int32_t buffers, MdxFile*& out) {
  VqBlock& block = table::block_of(context);
  platform::File system_file;
  MdxHead head;
  Result result = open_file(block, path_of(name, "MDX"), mode, system_file);
  if (ok(result)) result = read_mdx_head(block, system_file, 0, head);
  if (!ok(result)) return result;
  platform::FileIdentity identity;
  if (!system_file.identity(identity).ok()) return fail(block, Result::io, kOpen.detail(3));
  MdxFile* const file = mdx_files().open(&block, block, head, context);
  if (file == nullptr) return fail(block, Result::no_memory, kOpen.detail(4));
  file->store.identity = identity;
  if (!file->store.attach(std::move(system_file), mode, table::lock_scheme(context), buffers)) {
    mdx_files().close(file);
    return fail(block, Result::no_memory, kOpen.detail(5));
  }
  if (const Result completed = file->store.start(); !ok(completed)) {
    mdx_files().close(file);
    return completed;
  }
  file->file_number = file->store.system_file.number();
  file->signature = kHandleSignature;
  out = file;
  return Result::ok;
}

// The handle that the file has of this tag, live or not; null when it has none.
Result find_known_tag(const MdxStore& store, const TagEntry& entry, MdxTag*& found) {
  found = nullptr;
  for (MdxTag* tag = store.first_tag(); tag != nullptr && found == nullptr; tag = tag->next) {
    if (tag->entry.name != entry.name) continue;
    if (const Result result = tag->bring_up_to_date(); !ok(result)) return result;
    if (!tag->keys.gone) found = tag;
  }
  return Result::ok;
}

Result activate(MdxFile& file, std::string_view name, MdxTag*& out) {
  MdxStore& store = file.store;
  const TagEntry* const entry = store.tags().find(name);
  if (entry == nullptr) return fail(file.block, Result::unknown_name, kActivate.detail(2));
  MdxTag* tag = nullptr;
  if (const Result result = find_known_tag(store, *entry, tag); !ok(result)) return result;
  if (tag == nullptr) {
    tag = mdx_tags().open(file.block, store, *entry);
    if (tag == nullptr) return fail(file.block, Result::no_memory, kActivate.detail(3));
    if (const Result result = tag->set_up(); !ok(result)) {
      mdx_tags().close(tag);
      return result;
    }
    store.attach_tag(*tag);
  }
  if (tag->activations++ == 0) {
    set_anchor(tag->keys.cursor, Cursor::Anchor::none, PositionState::unset);
    tag->file_number = file.file_number;
    tag->signature = kHandleSignature;
  }
  out = tag;
  return Result::ok;
}

// The file without tags, for this place.
Result write_empty(table::Table& table, const std::string& path, TemporaryFile& growing) {
  VqBlock& block = table::block_of(table);
  const std::string& table_path = table::path_of_table(table);
  MdxHeader header;
  header.production = path == platform::resolve(replace_extension(table_path, "MDX"));
  MdxHeadBytes bytes = {};
  std::ranges::copy(new_mdx_header(base_name(table_path), header, convert::today()), bytes.begin());
  const auto made = growing.make_beside(path);
  if (!made.ok()) return fail(block, open_result(made.error), kCreate.detail(5));
  const auto written = growing.file().write_at(0, bytes.data(), bytes.size());
  return written.ok() ? Result::ok : fail(block, Result::io, kCreate.detail(6));
}

}  // namespace

HandlePool<MdxFile>& mdx_files() {
  static HandlePool<MdxFile> pool;
  return pool;
}

Result create_mdx(table::Table& table, std::string_view name) {
  VqBlock& block = table::block_of(table);
  if ((table::open_mode_of(table) & open_mode::kShared) != 0) {
    bool made = false;
    const Result result = create_missing_mdx(table, name, made);
    return ok(result) && !made ? fail(block, Result::not_allowed, kCreate.detail(4)) : result;
  }
  ReplacedFile replaced(block, table::lock_scheme(table));
  Result result = replaced.take(path_of(name, "MDX"), kCreate.detail(7));
  TemporaryFile growing;
  if (ok(result)) result = write_empty(table, path_of(name, "MDX"), growing);
  if (!ok(result)) return result;
  return replaced.give_way_to(growing).ok() ? Result::ok
                                            : fail(block, Result::io, kCreate.detail(6));
}

Result create_missing_mdx(table::Table& table, std::string_view name, bool& made) {
  TemporaryFile growing;
  const std::string path = path_of(name, "MDX");
  if (platform::exists(path)) return Result::ok;
  if (const Result result = write_empty(table, path, growing); !ok(result)) return result;
  const auto placed = growing.put_if_absent();
  made = placed.ok();
  if (made || placed.error == platform::Error::already_exists) return Result::ok;
  return fail(table::block_of(table), Result::io, kCreate.detail(6));
}

MdxFile* open_mdx(table::Table& context, const char* name, std::uint32_t mode,
                  std::int32_t buffers) {
  MdxFile* file = nullptr;
  const Result result = open_file_and_handle(context, name, mode, buffers, file);
  if (!ok(result)) table::block_of(context).result = code(result);
  return file;
}

Result close_mdx(MdxFile& file) {
  const Result result = file.store.close(kClose.detail(2));
  while (MdxTag* const tag = file.store.first_tag()) {
    file.store.detach_tag(*tag);
    mdx_tags().close(tag);
  }
  mdx_files().close(&file);
  return result;
}

Result mdx_memory(VqBlock& block, std::string_view name, std::int32_t buffers, std::int32_t& size) {
  platform::File file;
  MdxHead head;
  if (const Result result = open_file(block, path_of(name, "MDX"), open_mode::kReadOnly, file);
      !ok(result)) {
    return result;
  }
  if (const Result result = read_mdx_head(block, file, 0, head); !ok(result)) {
    return fail(block, result, kMemory.detail(1));
  }
  const auto count = static_cast<std::uint64_t>(std::max(buffers, kMinBuffers));
  const std::uint64_t bytes =
      (kBytesBesideABuffer + head.header.block_bytes()) * count + kHandleBytes;
  size = static_cast<std::int32_t>(
      std::min<std::uint64_t>(bytes, std::numeric_limits<std::int32_t>::max()));
  return Result::ok;
}

MdxTag* activate_tag(MdxFile& file, std::string_view name) {
  MdxTag* tag = nullptr;
  const Result result =
      in_bracket(file.store, Purpose::changing, [&] { return activate(file, name, tag); });
  if (ok(result)) return tag;
  file.block->result = code(result);
  return nullptr;
}

// What the tag still has to write, its file writes: the tree stays until the file is closed.
Result deactivate_tag(MdxTag& tag) {
  if (--tag.activations == 0) tag.signature = 0;
  return Result::ok;
}

}  // namespace vqdb::index
