#include "support/fault_plan.h"

#include <atomic>
#include <utility>

namespace {

using vqdb::platform::Call;
using vqdb::platform::Verdict;

std::atomic<bool> armed{false};
std::atomic<std::uint64_t> seen{0};
std::atomic<bool> hit{false};
std::uint64_t strike_at = 0;
Verdict strike_with = Verdict::fail;
vqdb::testing::FaultPlan::Filter filter;
bool strike_all_after = false;

}  // namespace

namespace vqdb::platform {

Verdict verdict(Call call) {
  if (!armed.load(std::memory_order_acquire)) return Verdict::go_on;
  if (filter != nullptr && !filter(call)) return Verdict::go_on;
  const std::uint64_t number = ++seen;
  const bool strikes = number == strike_at || (strike_all_after && number > strike_at);
  if (!strikes) return Verdict::go_on;
  hit = true;
  return strike_with;
}

}  // namespace vqdb::platform

namespace vqdb::testing {

FaultPlan::FaultPlan(std::uint64_t n, platform::Verdict verdict, Filter counts,
                     bool and_all_after) {
  strike_at = n;
  strike_with = verdict;
  filter = std::move(counts);
  strike_all_after = and_all_after;
  seen = 0;
  hit = false;
  armed.store(true, std::memory_order_release);
}

FaultPlan::~FaultPlan() { armed = false; }

bool FaultPlan::struck() const { return hit; }

std::uint64_t FaultPlan::calls() const { return seen; }

}  // namespace vqdb::testing
