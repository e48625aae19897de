// Lets a test make the n-th call to the system fail, counted from the moment the plan is set.
#ifndef VQDBSYS_TESTS_SUPPORT_FAULT_PLAN_H_
#define VQDBSYS_TESTS_SUPPORT_FAULT_PLAN_H_

#include "platform/fault.h"
#include "support/test.h"

namespace vqdb::testing {

using platform::Call;
using platform::Verdict;

// While it lives, the n-th call (from 1) that `counts` selects fails, or is cut short. With
// `and_all_after`, every later call fails too, as on a disk that stays full.
class FaultPlan : NotCopied {
 public:
  using Filter = std::function<bool(Call)>;

  explicit FaultPlan(std::uint64_t n, Verdict verdict = Verdict::fail, Filter counts = nullptr,
                     bool and_all_after = false);
  ~FaultPlan();

  // Whether the n-th call was reached, that is, whether something was made to fail.
  bool struck() const;
  // How many calls the filter selected so far.
  std::uint64_t calls() const;
};

// Selects the calls of one kind, or all the others.
inline FaultPlan::Filter only(Call kind) {
  return [kind](Call call) { return call == kind; };
}
inline FaultPlan::Filter all_but(Call kind) {
  return [kind](Call call) { return call != kind; };
}

// While it lives, memory that the language asks for (operator new) fails as well, and is counted
// with the calls of a plan that counts allocations.
class FailingObjects : NotCopied {
 public:
  explicit FailingObjects(bool fails);
  ~FailingObjects();
};

// From now on the process dies at the n-th call (from 1) that `counts` selects, as at a power cut:
// instead of it or, when `half` says so, with half of a write done. For a child process.
inline constexpr int kCrashed = 77;  // its exit code
void crash_at(std::uint64_t n, bool half, FaultPlan::Filter counts);

// The calls that change what is on the disk.
inline bool is_change(Call call) {
  return call == Call::write || call == Call::create || call == Call::replace ||
         call == Call::remove;
}

// How many files this process has open.
inline std::size_t open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

// What work gave under a plan, and whether the plan struck.
template <typename Result>
struct UnderFault {
  Result result;
  bool struck;
};

template <typename Work>
auto under_fault(std::uint64_t n, Verdict verdict, Work work, FaultPlan::Filter counts = nullptr,
                 bool and_all_after = false) {
  const FaultPlan plan(n, verdict, std::move(counts), and_all_after);
  auto result = work();
  return UnderFault<decltype(result)>{result, plan.struck()};
}

// What work gave when somebody else worked just before its n-th call of the system, and whether it
// came that far.
template <typename Work, typename Other>
auto beside_another(std::uint64_t n, Work work, Other other) {
  std::uint64_t calls = 0;
  bool came = false;
  const FaultPlan plan(0, Verdict::go_on, [&](Call) {
    if (!came && ++calls == n) {
      came = true;
      other();
    }
    return false;
  });
  auto result = work();
  return UnderFault<decltype(result)>{result, came};
}

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_FAULT_PLAN_H_
