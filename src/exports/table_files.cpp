// The dD family: tables as whole files.
#include "exports/guard.h"
#include "table/concatenate.h"
#include "table/copy.h"
#include "table/detach.h"
#include "table/pack.h"
#include "table/sort.h"
#include "vqdbsys.h"

namespace {

using vqdb::fail;
using vqdb::Operation;
using vqdb::Result;
using vqdb::exports::guarded;
namespace table = vqdb::table;

constexpr Operation kApart{10};
constexpr Operation kCopy{14};
constexpr Operation kCmpstr{19};
constexpr Operation kPack{29};
constexpr Operation kCat{34};
constexpr Operation kSort{44};

// Runs the body unless the block or a name is missing.
template <typename Body>
std::int32_t on_files(VqBlock* block, bool names, const Operation& operation, Body body) {
  if (block == nullptr || !names) {
    return vqdb::code(fail(block, Result::out_of_range, operation.detail(0)));
  }
  return guarded(body);
}

}  // namespace

extern "C" {

int32_t VQ_CALL dDcopy(VqBlock* block, const char* from, const char* to) {
  return on_files(block, true, kCopy, [=] { return table::copy_structure(*block, from, to); });
}

int32_t VQ_CALL dDcmpstr(VqBlock* block, const char* first, const char* second) {
  return on_files(block, first != nullptr && second != nullptr, kCmpstr,
                  [=] { return table::compare_structures(*block, first, second); });
}

int32_t VQ_CALL dDcat(VqBlock* block, const char* target, const char* source) {
  return on_files(block, target != nullptr && source != nullptr, kCat,
                  [=] { return table::concatenate(*block, target, source); });
}

int32_t VQ_CALL dDpack(VqBlock* block, const char* name) {
  return on_files(block, name != nullptr, kPack, [=] { return table::pack(*block, name); });
}

int32_t VQ_CALL dDsort(VqBlock* block, const char* source, const char* target, const char* keys) {
  return on_files(block, true, kSort, [=] { return table::sort(*block, source, target, keys); });
}

int32_t VQ_CALL dDapart(VqBlock* block, const char* name) {
  return on_files(block, name != nullptr, kApart,
                  [=] { return table::detach_production_index(*block, name); });
}

}  // extern "C"
