// A host that watches long work: counts the reports, and cancels at one of them.
#ifndef VQDBSYS_TESTS_SUPPORT_HOST_H_
#define VQDBSYS_TESTS_SUPPORT_HOST_H_

#include "support/test.h"

namespace vqdb::testing {

struct Host : NotCopied {
  // From here on the block's work reports to this host, or to nobody once it has gone.
  explicit Host(VqBlock& watched, std::uint32_t cancels = 0) : block(watched), cancel_at(cancels) {
    lib.dUsetprog(&block, told, this);
  }
  ~Host() { lib.dUsetprog(&block, nullptr, nullptr); }

  static std::int32_t VQ_CALL told(void* context, std::uint32_t done, std::uint32_t total) {
    Host& host = *static_cast<Host*>(context);
    host.in_order = host.in_order && done >= host.last_done && done <= total;
    host.last_done = done;
    host.total = total;
    return ++host.reports == host.cancel_at ? 1 : 0;
  }

  VqBlock& block;
  std::uint32_t cancel_at, reports = 0, last_done = 0, total = 0;
  bool in_order = true;
};

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_HOST_H_
