#include "support/fault_plan.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <optional>

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
std::atomic<bool> objects_fail{false};
bool is_work(Call call) { return call != Call::look && call != Call::clock; }
enum class Crash : std::uint8_t { none, instead, with_half, at_next };
Crash crash = Crash::none;

}  // namespace

namespace vqdb::platform {

Verdict verdict(Call call) {
  if (!armed.load(std::memory_order_acquire)) return Verdict::go_on;
  if (crash == Crash::at_next) std::_Exit(vqdb::testing::kCrashed);
  if (!filter(call)) return Verdict::go_on;
  const std::uint64_t number = ++seen;
  const bool strikes = number == strike_at || (strike_all_after && number > strike_at);
  if (!strikes) return Verdict::go_on;
  hit = true;
  if (crash == Crash::instead || (crash == Crash::with_half && call != Call::write)) {
    std::_Exit(vqdb::testing::kCrashed);
  }
  if (crash == Crash::with_half) crash = Crash::at_next;
  return strike_with;
}

}  // namespace vqdb::platform

namespace vqdb::testing {

FaultPlan::FaultPlan(std::uint64_t n, platform::Verdict verdict, Filter counts,
                     bool and_all_after) {
  strike_at = n;
  strike_with = verdict;
  filter = counts != nullptr ? std::move(counts) : is_work;
  strike_all_after = and_all_after;
  seen = 0;
  hit = false;
  armed.store(true, std::memory_order_release);
}

void crash_at(std::uint64_t n, bool half, FaultPlan::Filter counts) {
  static std::optional<FaultPlan> plan;
  crash = half ? Crash::with_half : Crash::instead;
  plan.emplace(n, Verdict::cut_short, std::move(counts));
}

FailingObjects::FailingObjects(bool fails) { objects_fail = fails; }
FailingObjects::~FailingObjects() { objects_fail = false; }

FaultPlan::~FaultPlan() { armed = false; }

bool FaultPlan::struck() const { return hit; }

std::uint64_t FaultPlan::calls() const { return seen; }

}  // namespace vqdb::testing

void* operator new(std::size_t size) {
  using vqdb::platform::verdict;
  const bool fails = objects_fail && verdict(Call::allocate) != Verdict::go_on;
  void* const memory = fails ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
// Not of itself by the one above, where a sanitizer brings its own.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
