#include "exports/guard.h"
#include "frame/wait.h"
#include "index/mdx/mdx_build.h"
#include "index/mdx/mdx_describe.h"
#include "index/mdx/mdx_file.h"
#include "index/open/file_copy.h"
#include "table/table.h"

namespace {

using namespace vqdb;
using exports::guarded;
using index::MdxFile;
using index::MdxTag;

constexpr Operation kActivate{100};
constexpr Operation kCopy{101};
constexpr Operation kCreate{102};
constexpr Operation kDeactivate{103};
constexpr Operation kCurrent{104};
constexpr Operation kExpression{105};
constexpr Operation kExpressionLength{106};
constexpr Operation kFlush{107};
constexpr Operation kForward{108};
constexpr Operation kFind{109};
constexpr Operation kBuild{110};
constexpr Operation kKeyLength{111};
constexpr Operation kKeyType{112};
constexpr Operation kLock{113};
constexpr Operation kLockStatus{114};
constexpr Operation kOpen{115};
constexpr Operation kPut{116};
constexpr Operation kPrevious{117};
constexpr Operation kRebuild{118};
constexpr Operation kRewind{119};
constexpr Operation kNext{120};
constexpr Operation kRemove{121};
constexpr Operation kUnlock{122};
constexpr Operation kClose{124};
constexpr Operation kMemory{125};
constexpr Operation kDrop{126};
constexpr Operation kBuildAlone{127};
constexpr Operation kList{128};
constexpr Operation kSortedList{129};
constexpr Operation kCount{130};
constexpr Operation kUpdate{131};

template <typename Body>
std::int32_t with_file(VqIndex* file, Operation operation, Body body) noexcept {
  return exports::with_handle(index::mdx_files(), file, operation.bad_handle(), body);
}

template <typename Body>
std::int32_t with_tag(VqIndex* tag, Operation operation, Body body) noexcept {
  return exports::with_handle(index::mdx_tags(), tag, operation.bad_handle(), body);
}

template <typename Body>
std::int32_t with_table(VqTable* table, Operation operation, Body body) noexcept {
  return exports::with_handle(table::tables(), table, operation.bad_handle(), body);
}

// A null argument; the digit lies behind those that the operation itself uses.
constexpr std::int32_t kNullArgument = 9;

Result refuse_null(VqBlock* block, Operation operation) {
  return fail(block, Result::out_of_range, operation.detail(kNullArgument));
}

}  // namespace

extern "C" {

int32_t VQ_CALL dXcreat(VqTable* table, const char* name) {
  return with_table(table, kCreate, [&](table::Table& context) {
    if (name == nullptr) return refuse_null(&table::block_of(context), kCreate);
    return index::create_mdx(context, name);
  });
}

VqIndex* VQ_CALL dXopen(VqTable* table, const char* name, uint32_t mode, int32_t buffers) {
  MdxFile* file = nullptr;
  const int32_t result = with_table(table, kOpen, [&](table::Table& context) {
    if (name == nullptr) return refuse_null(&table::block_of(context), kOpen);
    file = index::open_mdx(context, name, mode, buffers);
    return file != nullptr ? Result::ok : static_cast<Result>(table::block_of(context).result);
  });
  VqBlock* block = table::tables().block_of(table);
  if (result < 0 && block != nullptr) block->result = result;
  return reinterpret_cast<VqIndex*>(file);
}

int32_t VQ_CALL dXclose(VqIndex* file) {
  return with_file(file, kClose, [](MdxFile& mdx) { return index::close_mdx(mdx); });
}

VqIndex* VQ_CALL dXactidx(VqIndex* file, const char* tag) {
  MdxTag* active = nullptr;
  const int32_t result = with_file(file, kActivate, [&](MdxFile& mdx) {
    if (tag == nullptr) return refuse_null(mdx.block, kActivate);
    active = index::activate_tag(mdx, tag);
    return active != nullptr ? Result::ok : static_cast<Result>(mdx.block->result);
  });
  VqBlock* block = index::mdx_files().block_of(file);
  if (result < 0 && block != nullptr) block->result = result;
  return reinterpret_cast<VqIndex*>(active);
}

int32_t VQ_CALL dXdeaidx(VqIndex* tag) {
  return with_tag(tag, kDeactivate, [](MdxTag& active) { return index::deactivate_tag(active); });
}

int32_t VQ_CALL dXflush(VqIndex* file) {
  return with_file(file, kFlush, [](MdxFile& mdx) { return mdx.store.flush(); });
}

int32_t VQ_CALL dXbuffs(VqBlock* block, const char* name, int32_t buffers) {
  return guarded([&] {
    if (block == nullptr || name == nullptr) return code(refuse_null(block, kMemory));
    int32_t size = 0;
    const Result result = index::mdx_memory(*block, name, buffers, size);
    return ok(result) ? size : code(result);
  });
}

int32_t VQ_CALL dXtags(VqIndex* file) {
  return with_file(file, kCount, [](MdxFile& mdx) { return index::count_tags(mdx); });
}

int32_t VQ_CALL dXlistag(VqIndex* file, void* list) {
  return with_file(file, kList, [&](MdxFile& mdx) { return index::list_tags(mdx, list, false); });
}

int32_t VQ_CALL dXsortag(VqIndex* file, void* list) {
  return with_file(file, kSortedList,
                   [&](MdxFile& mdx) { return index::list_tags(mdx, list, true); });
}

int32_t VQ_CALL dXputkey(VqIndex* tag, const void* key, uint32_t recno) {
  return with_tag(tag, kPut,
                  [&](MdxTag& active) { return index::put_key(active.keys, key, recno); });
}

int32_t VQ_CALL dXrmkey(VqIndex* tag, const void* key, uint32_t recno) {
  return with_tag(tag, kRemove,
                  [&](MdxTag& active) { return index::remove_key(active.keys, key, recno); });
}

int32_t VQ_CALL dXupdkey(VqIndex* tag, const void* old_key, const void* new_key, uint32_t recno) {
  return with_tag(tag, kUpdate, [&](MdxTag& active) {
    return index::update_key(active.keys, old_key, new_key, recno);
  });
}

int32_t VQ_CALL dXgetrno(VqIndex* tag, const void* key, uint32_t* recno) {
  return with_tag(tag, kFind, [&](MdxTag& active) {
    if (recno == nullptr) return refuse_null(active.block, kFind);
    return index::find_record(active.keys, key, recno);
  });
}

int32_t VQ_CALL dXseeks(VqIndex* tag, const void* keys, uint32_t count, uint32_t* recnos,
                        uint32_t* found) {
  if (found != nullptr) *found = 0;
  return with_tag(tag, kFind, [&](MdxTag& active) {
    if (keys == nullptr || recnos == nullptr || found == nullptr)
      return refuse_null(active.block, kFind);
    return index::find_records(active.keys, keys, count, recnos, *found);
  });
}

int32_t VQ_CALL dXnxtkey(VqIndex* tag, void* key, uint32_t* recno) {
  return with_tag(tag, kNext, [&](MdxTag& active) {
    if (key == nullptr || recno == nullptr) return refuse_null(active.block, kNext);
    return index::next_key(active.keys, key, recno);
  });
}

int32_t VQ_CALL dXnxtkeys(VqIndex* tag, uint32_t count, void* keys, uint32_t* recnos,
                          uint32_t* got) {
  if (got != nullptr) *got = 0;
  return with_tag(tag, kNext, [&](MdxTag& active) {
    if (keys == nullptr || recnos == nullptr || got == nullptr)
      return refuse_null(active.block, kNext);
    return index::next_keys(active.keys, count, keys, recnos, *got);
  });
}

int32_t VQ_CALL dXprvkey(VqIndex* tag, void* key, uint32_t* recno) {
  return with_tag(tag, kPrevious, [&](MdxTag& active) {
    if (key == nullptr || recno == nullptr) return refuse_null(active.block, kPrevious);
    return index::previous_key(active.keys, key, recno);
  });
}

int32_t VQ_CALL dXcurkey(VqIndex* tag, void* key, uint32_t* recno) {
  return with_tag(tag, kCurrent, [&](MdxTag& active) {
    if (key == nullptr || recno == nullptr) return refuse_null(active.block, kCurrent);
    return index::current_key(active.keys, key, recno);
  });
}

int32_t VQ_CALL dXrewind(VqIndex* tag) {
  return with_tag(tag, kRewind, [](MdxTag& active) {
    index::rewind(active.keys);
    return Result::ok;
  });
}

int32_t VQ_CALL dXforwrd(VqIndex* tag) {
  return with_tag(tag, kForward, [](MdxTag& active) {
    index::forward(active.keys);
    return Result::ok;
  });
}

int32_t VQ_CALL dXexpr(VqIndex* tag, char* text, int32_t size, int32_t* flags) {
  return with_tag(tag, kExpression,
                  [&](MdxTag& active) { return index::tag_expression(active, text, size, flags); });
}

int32_t VQ_CALL dXexplen(VqIndex* tag, int32_t* length, int32_t* flags) {
  return with_tag(tag, kExpressionLength, [&](MdxTag& active) {
    return index::tag_expression_length(active, length, flags);
  });
}

int32_t VQ_CALL dXkeylen(VqIndex* tag) {
  return with_tag(tag, kKeyLength, [](MdxTag& active) { return active.keys.key_length(); });
}

int32_t VQ_CALL dXkeytyp(VqIndex* tag) {
  return with_tag(tag, kKeyType, [](MdxTag& active) { return active.keys.key_type; });
}

int32_t VQ_CALL dXlkfil(VqIndex* file) {
  return with_file(file, kLock, [](MdxFile& mdx) {
    return patiently(mdx.store.block, [&] { return mdx.store.lock(kLock); });
  });
}

int32_t VQ_CALL dXulkfil(VqIndex* file) {
  return with_file(file, kUnlock, [](MdxFile& mdx) { return mdx.store.unlock(kUnlock); });
}

int32_t VQ_CALL dXlkfsta(VqIndex* file) {
  return with_file(file, kLockStatus,
                   [](MdxFile& mdx) { return mdx.store.lock_status(kLockStatus); });
}

int32_t VQ_CALL dXindex(VqIndex* file, const char* tag, const char* key, const char* format,
                        const char* filter) {
  return with_file(file, kBuild, [&](MdxFile& mdx) {
    if (tag == nullptr || key == nullptr || format == nullptr) {
      return refuse_null(mdx.block, kBuild);
    }
    return index::add_tag(mdx, {tag, key, format, filter, 0});
  });
}

int32_t VQ_CALL dXezindx(VqTable* table, const char* name, const char* tag, const char* key,
                         const char* filter, uint32_t options) {
  return with_table(table, kBuildAlone, [&](table::Table& context) {
    if (name == nullptr || tag == nullptr || key == nullptr) {
      return refuse_null(&table::block_of(context), kBuildAlone);
    }
    return index::build_mdx(context, name, {tag, key, nullptr, filter, options});
  });
}

int32_t VQ_CALL dXreindx(VqTable* table, const char* name) {
  return with_table(table, kRebuild, [&](table::Table& context) {
    if (name == nullptr) return refuse_null(&table::block_of(context), kRebuild);
    return index::rebuild_mdx(context, name);
  });
}

int32_t VQ_CALL dXdeltag(VqIndex* file, const char* tag) {
  return with_file(file, kDrop, [&](MdxFile& mdx) {
    if (tag == nullptr) return refuse_null(mdx.block, kDrop);
    return index::drop_tag(mdx, tag);
  });
}

int32_t VQ_CALL dXcopy(VqBlock* block, const char* from, const char* to) {
  return guarded([&] {
    if (block == nullptr || from == nullptr || to == nullptr) return refuse_null(block, kCopy);
    return index::copy_index_file(*block, from, to, "MDX", kCopy);
  });
}

}  // extern "C"
