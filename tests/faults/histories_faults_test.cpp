// Each history while its n-th call fails or is cut short, for n = 1, 2, ... until none does, also a
// call for memory; and on a disk that is full from the n-th write on, where it goes on after room
// has been made. Nothing that was stored is lost, and nothing is left behind.

#include <new>

#include "support/fault_plan.h"
#include "support/histories.h"

namespace {

constexpr std::uint64_t kMaxCalls = 20000;

struct Way {
  const char* name;
  Verdict verdict;
  FaultPlan::Filter counts;
  bool stays;  // all later calls fail as well
};

const Way kWays[] = {
    {"fails", Verdict::fail, all_but(Call::remove), false},
    {"is cut short", Verdict::cut_short,
     [](Call call) { return call == Call::write || call == Call::read; }, false},
    {"disk stays full", Verdict::fail,
     [](Call call) { return call == Call::write || call == Call::create; }, true},
};

class Faults : public ::testing::TestWithParam<History> {
 protected:
  Faults() : world_(GetParam().kind) {
    if (GetParam().prepare != nullptr) GetParam().prepare(world_);
    world_.keep();
  }

  // Up to the first step that fails; returns how many did not.
  std::size_t run() {
    std::size_t done = 0;
    for (const Step& step : GetParam().steps) {
      std::int32_t result = VQ_E_NO_MEMORY;
      try {
        result = step.run(world_);
      } catch (const std::bad_alloc&) {
        // Of the test's own.
      }
      if (result != 0) break;
      ++done;
    }
    return done;
  }

  World world_;
};

TEST_P(Faults, lose_nothing_stored_and_leave_nothing_behind) {
  const History& history = GetParam();
  const std::vector<Atoms> states = states_of(world_, history);
  for (const Way& way : kWays) {
    bool struck = true;
    for (std::uint64_t n = 1; struck && n < kMaxCalls; n += 1 + n / 30) {
      SCOPED_TRACE(std::to_string(n) + ": " + way.name);
      world_.restore();
      std::size_t done = 0;
      {
        const FaultPlan plan(n, way.verdict, way.counts, way.stays);
        const FailingObjects objects(way.verdict == Verdict::fail && !way.stays);
        done = run();
        struck = plan.struck();
      }
      // What waits in buffers is stored now that it can be.
      const bool closes = world_.database != nullptr;
      if (closes) {
        ASSERT_EQ(0, world_.close());
      }
      const auto lost = [&] {
        const std::size_t stored = closes ? done : history.stored(done);
        return first_lost(states, stored, std::max(stored, history.begun(done)), world_.read());
      };
      if (!struck) {
        ASSERT_EQ(history.steps.size(), done);
      }
      if (history.name != "repair") {
        ASSERT_EQ("", history.errors(world_, done, way.verdict == Verdict::cut_short));
        ASSERT_EQ("", lost());
      }
      // The check completes a compaction that could not take away its journal.
      ASSERT_EQ(std::vector<std::string>(), world_.leftovers());
      if (world_.group.check().result == 0) continue;
      const Report repaired = world_.repair();
      ASSERT_EQ(0, repaired.result) << world_.group.block.detail << repaired.summary();
      ASSERT_EQ("", lost());
    }
    ASSERT_FALSE(struck);
  }
}

INSTANTIATE_TEST_SUITE_P(Histories, Faults, ::testing::ValuesIn(histories()),
                         [](const auto& each) { return name_of(each.param); });

}  // namespace
