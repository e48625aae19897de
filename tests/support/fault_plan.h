// Lets a test make the n-th call to the system fail, counted from the moment the plan is set.
#ifndef VQDBSYS_TESTS_SUPPORT_FAULT_PLAN_H_
#define VQDBSYS_TESTS_SUPPORT_FAULT_PLAN_H_

#include <cstdint>

#include "platform/fault.h"

namespace vqdb::testing {

// While it lives, the n-th call (from 1) that `counts` selects fails, or is cut short. With
// `and_all_after`, every later call fails too, as on a disk that stays full.
class FaultPlan {
 public:
  using Filter = bool (*)(platform::Call);

  explicit FaultPlan(std::uint64_t n, platform::Verdict verdict = platform::Verdict::fail,
                     Filter counts = nullptr, bool and_all_after = false);
  ~FaultPlan();
  FaultPlan(const FaultPlan&) = delete;
  FaultPlan& operator=(const FaultPlan&) = delete;

  // Whether the n-th call was reached, that is, whether something was made to fail.
  bool struck() const;
  // How many calls the filter selected so far.
  std::uint64_t calls() const;
};

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_FAULT_PLAN_H_
