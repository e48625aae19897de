#include "memo/memo.h"

#include <new>

#include "exports/guard.h"
#include "memo/dbase3_memo.h"
#include "memo/driver_table.h"
#include "vqdbsys.h"

namespace {

using vqdb::fail;
using vqdb::Operation;
using vqdb::Result;
using vqdb::exports::guarded;
using vqdb::exports::with_handle;
using vqdb::memo::Driver;
using vqdb::memo::Memo;

constexpr Operation kReference{1016};
constexpr Operation kGet{206};

const Driver& dbase4 = vqdb::memo::driver(vqdb::memo::kDbase4Column);
const Driver& dbase3 = vqdb::memo::driver(vqdb::memo::kDbase3Column);

template <typename Body>
int32_t with_memo(VqMemo* handle, Body body) {
  return with_handle(vqdb::memo::memos(), handle, kReference.bad_handle(), body);
}

// Runs a body that reads or rewrites a reference.
template <typename Body>
int32_t with_reference(VqMemo* handle, const char* reference, Body body) {
  return with_memo(handle, [&](Memo& memo) {
    if (reference == nullptr) {
      return fail(memo.block, Result::out_of_range, kReference.detail(2));
    }
    return body(memo);
  });
}

template <typename Body>
int32_t with_name(VqBlock* block, const char* name, Body body) {
  if (block == nullptr || name == nullptr) return VQ_E_RANGE;
  return guarded([&] { return body(*block, name); });
}

VqMemo* open(const Driver& driver, VqBlock* block, const char* name, uint32_t mode) {
  Memo* memo = nullptr;
  const int32_t result = with_name(block, name, [&](VqBlock& given, const char* file) {
    memo = driver.open(given, file, mode);
    return memo != nullptr ? VQ_OK : given.result;
  });
  if (memo == nullptr && block != nullptr) block->result = result;
  return reinterpret_cast<VqMemo*>(memo);
}

int32_t get(const Driver& driver, VqMemo* handle, const char* reference, int32_t offset,
            int32_t max, void* buffer, int32_t* length, int32_t* done) {
  return with_reference(handle, reference, [&](Memo& memo) {
    if (buffer == nullptr || length == nullptr) {
      return fail(memo.block, Result::out_of_range, kGet.detail(3));
    }
    return driver.get(memo, reference, offset, max, buffer, length, done);
  });
}

int32_t size(const Driver& driver, VqMemo* handle, const char* reference, int32_t* length) {
  return with_reference(handle, reference, [&](Memo& memo) {
    return length != nullptr ? driver.size(memo, reference, length) : Result::out_of_range;
  });
}

}  // namespace

int32_t VQ_CALL dTcreat(VqBlock* block, const char* name) {
  return with_name(block, name, dbase4.create);
}

VqMemo* VQ_CALL dTopen(VqBlock* block, const char* name, uint32_t mode) {
  return open(dbase4, block, name, mode);
}

int32_t VQ_CALL dTclose(VqMemo* memo) { return with_memo(memo, dbase4.close); }

int32_t VQ_CALL dTnewmm(VqMemo* memo, int32_t, int32_t length, const void* data, char* reference) {
  return with_reference(memo, reference, [&](Memo& open_memo) {
    return dbase4.create_memo(open_memo, length, data, reference);
  });
}

int32_t VQ_CALL dTaddmm(VqMemo* memo, int32_t length, const void* data, char* reference,
                        int32_t* moved) {
  return with_reference(memo, reference, [&](Memo& open_memo) {
    return dbase4.add(open_memo, length, data, reference, moved);
  });
}

int32_t VQ_CALL dTupdmm(VqMemo* memo, int32_t, int32_t length, const void* data, char* reference,
                        int32_t* moved) {
  return with_reference(memo, reference, [&](Memo& open_memo) {
    return dbase4.update(open_memo, length, data, reference, moved);
  });
}

int32_t VQ_CALL dTgetmm(VqMemo* memo, const char* reference, int32_t offset, int32_t max,
                        void* buffer, int32_t* length, int32_t* done) {
  return get(dbase4, memo, reference, offset, max, buffer, length, done);
}

int32_t VQ_CALL dTmemosz(VqMemo* memo, const char* reference, int32_t* length) {
  return size(dbase4, memo, reference, length);
}

int32_t VQ_CALL dTmemotype(VqMemo* memo, const char* reference, int32_t* type) {
  return with_memo(memo, [&](Memo& open_memo) {
    return type != nullptr ? dbase4.type(open_memo, reference, type) : Result::out_of_range;
  });
}

int32_t VQ_CALL dTmemuse(VqBlock* block, const char* name) {
  return with_name(block, name, dbase4.memory_use);
}

int32_t VQ_CALL dToptimize(VqBlock* block, const char* name) {
  return with_name(block, name, dbase4.compact);
}

int32_t VQ_CALL dTcreat3(VqBlock* block, const char* name) {
  return with_name(block, name, dbase3.create);
}

VqMemo* VQ_CALL dTopen3(VqBlock* block, const char* name, uint32_t mode) {
  return open(dbase3, block, name, mode);
}

int32_t VQ_CALL dTclose3(VqMemo* memo) { return with_memo(memo, dbase3.close); }

int32_t VQ_CALL dTnewmm3(VqMemo* memo, int32_t, int32_t, const char* text, char* reference) {
  return dTputmm3(memo, text, reference);
}

int32_t VQ_CALL dTaddmm3(VqMemo* memo, int32_t, const char* text, char* reference, int32_t* moved) {
  return dTupdmm3(memo, 0, 0, text, reference, moved);
}

int32_t VQ_CALL dTupdmm3(VqMemo* memo, int32_t, int32_t, const char* text, char* reference,
                         int32_t* moved) {
  return with_reference(memo, reference, [&](Memo& open_memo) {
    return vqdb::memo::write_dbase3(open_memo, text, reference, moved);
  });
}

int32_t VQ_CALL dTputmm3(VqMemo* memo, const char* text, char* reference) {
  return dTupdmm3(memo, 0, 0, text, reference, nullptr);
}

int32_t VQ_CALL dTgetmm3(VqMemo* memo, const char* reference, int32_t offset, int32_t max,
                         void* buffer, int32_t* length, int32_t* done) {
  return get(dbase3, memo, reference, offset, max, buffer, length, done);
}

int32_t VQ_CALL dTmemsz3(VqMemo* memo, const char* reference, int32_t* length) {
  return size(dbase3, memo, reference, length);
}
