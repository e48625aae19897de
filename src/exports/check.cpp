// Whether files are sound.
#include "check/check.h"

#include "check/compact.h"
#include "check/repair.h"
#include "exports/guard.h"
#include "vqdbsys.h"

namespace {

namespace check = vqdb::check;

std::int32_t run(std::int32_t (*work)(const check::Request&), VqBlock* block, const char* name,
                 const VqCheckOptions* options, VqReport report, void* context) noexcept {
  if (block == nullptr || name == nullptr) return VQ_E_RANGE;
  const check::Request request = {*block, name, options != nullptr ? *options : VqCheckOptions{},
                                  report, context};
  return vqdb::exports::guarded([&] { return work(request); });
}

}  // namespace

extern "C" {

int32_t VQ_CALL DBcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context) {
  return run(check::check_group, block, name, options, report, context);
}

int32_t VQ_CALL dDcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context) {
  return run(check::check_table, block, name, options, report, context);
}

int32_t VQ_CALL dTcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context) {
  return run(check::check_memo_file, block, name, options, report, context);
}

int32_t VQ_CALL dNcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context) {
  return run(check::check_ndx_file, block, name, options, report, context);
}

int32_t VQ_CALL dXcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context) {
  return run(check::check_mdx_file, block, name, options, report, context);
}

int32_t VQ_CALL DBrepair(VqBlock* block, const char* name, const VqCheckOptions* options,
                         VqReport report, void* context) {
  return run(check::repair_group, block, name, options, report, context);
}

int32_t VQ_CALL DBcompact(VqBlock* block, const char* name) {
  if (block == nullptr || name == nullptr) return VQ_E_RANGE;
  return vqdb::exports::guarded([&] { return check::compact_group(*block, name); });
}

}  // extern "C"
