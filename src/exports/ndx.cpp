#include "exports/guard.h"
#include "frame/wait.h"
#include "index/ndx/ndx_build.h"
#include "index/ndx/ndx_describe.h"
#include "index/ndx/ndx_file.h"
#include "index/ndx/ndx_open.h"
#include "index/open/file_copy.h"
#include "table/table_handle.h"

namespace {

using namespace vqdb;
using exports::guarded;
using index::NdxFile;

constexpr Operation kDateKey{300};
constexpr Operation kCopy{301};
constexpr Operation kCreate{302};
constexpr Operation kCurrent{304};
constexpr Operation kExpression{305};
constexpr Operation kExpressionLength{306};
constexpr Operation kFlush{307};
constexpr Operation kForward{308};
constexpr Operation kFind{309};
constexpr Operation kBuild{310};
constexpr Operation kKeyLength{311};
constexpr Operation kKeyType{312};
constexpr Operation kLock{313};
constexpr Operation kLockStatus{314};
constexpr Operation kOpen{315};
constexpr Operation kPut{316};
constexpr Operation kPrevious{317};
constexpr Operation kRebuild{318};
constexpr Operation kRewind{319};
constexpr Operation kNext{320};
constexpr Operation kRemove{321};
constexpr Operation kUnlock{322};
constexpr Operation kClose{323};
constexpr Operation kMemory{325};
constexpr Operation kUpdate{331};

template <typename Body>
std::int32_t with_index(VqIndex* index, Operation operation, Body body) noexcept {
  return exports::with_handle(index::ndx_files(), index, operation.bad_handle(), body);
}

// A null argument; the digit lies behind those that the operation itself uses.
constexpr std::int32_t kNullArgument = 9;

Result refuse_null(VqBlock* block, Operation operation) {
  return fail(block, Result::out_of_range, operation.detail(kNullArgument));
}

}  // namespace

extern "C" {

int32_t VQ_CALL dNcreat(VqBlock* block, const char* name, const char* expression,
                        const char* format) {
  return guarded([&] {
    if (block == nullptr || name == nullptr || expression == nullptr || format == nullptr) {
      return refuse_null(block, kCreate);
    }
    return index::create_ndx(*block, name, expression, format);
  });
}

VqIndex* VQ_CALL dNopen(VqTable* table, const char* name, uint32_t mode, int32_t buffers) {
  NdxFile* file = nullptr;
  const int32_t result =
      exports::with_handle(table::tables(), table, kOpen.bad_handle(), [&](table::Table& context) {
        if (name == nullptr) return refuse_null(&table::block_of(context), kOpen);
        file = index::open_ndx(context, name, mode, buffers);
        return file != nullptr ? Result::ok : static_cast<Result>(table::block_of(context).result);
      });
  VqBlock* block = table::tables().block_of(table);
  if (result < 0 && block != nullptr) block->result = result;
  return reinterpret_cast<VqIndex*>(file);
}

int32_t VQ_CALL dNclose(VqIndex* index) {
  return with_index(index, kClose, [](NdxFile& file) { return index::close_ndx(file); });
}

int32_t VQ_CALL dNbuffs(VqBlock* block, const char* name, int32_t buffers) {
  return guarded([&] {
    if (block == nullptr || name == nullptr) return code(refuse_null(block, kMemory));
    int32_t size = 0;
    const Result result = index::ndx_memory(*block, name, buffers, size);
    return ok(result) ? size : code(result);
  });
}

VqIndex* VQ_CALL dN3datek(VqIndex* index) {
  with_index(index, kDateKey, [](NdxFile& file) {
    file.keys.key_type = 'D';
    return Result::ok;
  });
  return index;
}

int32_t VQ_CALL dNflush(VqIndex* index) {
  return with_index(index, kFlush, [](NdxFile& file) { return file.file.flush(); });
}

int32_t VQ_CALL dNputkey(VqIndex* index, const void* key, uint32_t recno) {
  return with_index(index, kPut,
                    [&](NdxFile& file) { return index::put_key(file.keys, key, recno); });
}

int32_t VQ_CALL dNrmkey(VqIndex* index, const void* key, uint32_t recno) {
  return with_index(index, kRemove,
                    [&](NdxFile& file) { return index::remove_key(file.keys, key, recno); });
}

int32_t VQ_CALL dNupdkey(VqIndex* index, const void* old_key, const void* new_key, uint32_t recno) {
  return with_index(index, kUpdate, [&](NdxFile& file) {
    return index::update_key(file.keys, old_key, new_key, recno);
  });
}

int32_t VQ_CALL dNgetrno(VqIndex* index, const void* key, uint32_t* recno) {
  return with_index(index, kFind, [&](NdxFile& file) {
    if (recno == nullptr) return refuse_null(file.block, kFind);
    return index::find_record(file.keys, key, recno);
  });
}

int32_t VQ_CALL dNseeks(VqIndex* index, const void* keys, uint32_t count, uint32_t* recnos,
                        uint32_t* found) {
  if (found != nullptr) *found = 0;
  return with_index(index, kFind, [&](NdxFile& file) {
    if (keys == nullptr || recnos == nullptr || found == nullptr)
      return refuse_null(file.block, kFind);
    return index::find_records(file.keys, keys, count, recnos, *found);
  });
}

int32_t VQ_CALL dNnxtkey(VqIndex* index, void* key, uint32_t* recno) {
  return with_index(index, kNext, [&](NdxFile& file) {
    if (key == nullptr || recno == nullptr) return refuse_null(file.block, kNext);
    return index::next_key(file.keys, key, recno);
  });
}

int32_t VQ_CALL dNnxtkeys(VqIndex* index, uint32_t count, void* keys, uint32_t* recnos,
                          uint32_t* got) {
  if (got != nullptr) *got = 0;
  return with_index(index, kNext, [&](NdxFile& file) {
    if (keys == nullptr || recnos == nullptr || got == nullptr)
      return refuse_null(file.block, kNext);
    return index::next_keys(file.keys, count, keys, recnos, *got);
  });
}

int32_t VQ_CALL dNprvkey(VqIndex* index, void* key, uint32_t* recno) {
  return with_index(index, kPrevious, [&](NdxFile& file) {
    if (key == nullptr || recno == nullptr) return refuse_null(file.block, kPrevious);
    return index::previous_key(file.keys, key, recno);
  });
}

int32_t VQ_CALL dNcurkey(VqIndex* index, void* key, uint32_t* recno) {
  return with_index(index, kCurrent, [&](NdxFile& file) {
    if (key == nullptr || recno == nullptr) return refuse_null(file.block, kCurrent);
    return index::current_key(file.keys, key, recno);
  });
}

int32_t VQ_CALL dNrewind(VqIndex* index) {
  return with_index(index, kRewind, [](NdxFile& file) {
    index::rewind(file.keys);
    return Result::ok;
  });
}

int32_t VQ_CALL dNforwrd(VqIndex* index) {
  return with_index(index, kForward, [](NdxFile& file) {
    index::forward(file.keys);
    return Result::ok;
  });
}

int32_t VQ_CALL dNexpr(VqIndex* index, char* text, int32_t size, int32_t* flags) {
  return with_index(index, kExpression,
                    [&](NdxFile& file) { return index::key_expression(file, text, size, flags); });
}

int32_t VQ_CALL dNexplen(VqIndex* index, int32_t* length, int32_t* flags) {
  return with_index(index, kExpressionLength, [&](NdxFile& file) {
    return index::key_expression_length(file, length, flags);
  });
}

int32_t VQ_CALL dNkeylen(VqIndex* index) {
  return with_index(index, kKeyLength, [](NdxFile& file) { return file.keys.key_length(); });
}

int32_t VQ_CALL dNkeytyp(VqIndex* index) {
  return with_index(index, kKeyType, [](NdxFile& file) { return file.keys.key_type; });
}

int32_t VQ_CALL dNlkfil(VqIndex* index) {
  return with_index(index, kLock, [](NdxFile& file) {
    return patiently(file.file.block, [&] { return file.file.lock(kLock); });
  });
}

int32_t VQ_CALL dNulkfil(VqIndex* index) {
  return with_index(index, kUnlock, [](NdxFile& file) { return file.file.unlock(kUnlock); });
}

int32_t VQ_CALL dNlkfsta(VqIndex* index) {
  return with_index(index, kLockStatus,
                    [](NdxFile& file) { return file.file.lock_status(kLockStatus); });
}

int32_t VQ_CALL dNindex(VqTable* table, const char* name, const char* expression,
                        uint32_t options) {
  return exports::with_handle(table::tables(), table, kBuild.bad_handle(),
                              [&](table::Table& context) {
                                if (name == nullptr || expression == nullptr) {
                                  return refuse_null(&table::block_of(context), kBuild);
                                }
                                return index::build_ndx(context, name, expression, options);
                              });
}

int32_t VQ_CALL dNreindex(VqTable* table, const char* name) {
  return exports::with_handle(table::tables(), table, kRebuild.bad_handle(),
                              [&](table::Table& context) {
                                if (name == nullptr)
                                  return refuse_null(&table::block_of(context), kRebuild);
                                return index::rebuild_ndx(context, name);
                              });
}

int32_t VQ_CALL dNcopy(VqBlock* block, const char* from, const char* to) {
  return guarded([&] {
    if (block == nullptr || from == nullptr || to == nullptr) return refuse_null(block, kCopy);
    return index::copy_index_file(*block, from, to, "NDX", kCopy);
  });
}

}  // extern "C"
