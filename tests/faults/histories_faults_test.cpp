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

  // Locks of a step that has failed keep nobody out.
  void expect_unlocked() {
    VqTable* const other = lib.dDopen(&world_.group.block, world_.group.table().c_str(), 2, 1);
    ASSERT_NE(nullptr, other);
    EXPECT_EQ(0, lib.dDlkfil(other)) << world_.group.block.detail;
    EXPECT_EQ(0, lib.dDclose(other));
  }
  // Up to the first step that fails; returns how many did not.
  std::size_t run() {
    std::size_t done = 0;
    threw_ = false;
    for (const Step& step : GetParam().steps) {
      std::int32_t result = VQ_E_NO_MEMORY;
      try {
        result = step.run(world_);
      } catch (const std::bad_alloc&) {
        threw_ = true;  // of the test's own
      }
      if (result != 0) break;
      ++done;
    }
    return done;
  }

  World world_;
  bool threw_ = false;
};

TEST_P(Faults, lose_nothing_stored_and_leave_nothing_behind) {
  const History& history = GetParam();
  // Files come and go with a step or not at all; these are made by parts of one.
  const bool makes_in_parts = history.name == "repair" || history.name == "copy_index";
  std::set<std::vector<std::string>> names = {world_.group.folder.list()};
  const std::vector<Atoms> states =
      states_of(world_, history, [&] { names.insert(world_.group.folder.list()); });
  for (const Way& way : kWays) {
    bool struck = true;
    for (std::uint64_t n = 1; struck && n < kMaxCalls; n += 1 + n / 30) {
      SCOPED_TRACE(std::to_string(n) + ": " + way.name);
      world_.restore();
      const std::size_t open = open_files();
      std::size_t done = 0;
      std::uint64_t counted = 0;
      Call failing = Call::look;
      {
        const auto counts = [&](Call call) {
          const bool yes = way.counts(call);
          if (yes && ++counted == n) failing = call;
          return yes;
        };
        const FaultPlan plan(n, way.verdict, counts, way.stays);
        const FailingObjects objects(way.verdict == Verdict::fail && !way.stays);
        done = run();
        struck = plan.struck();
      }
      // What waits in buffers is stored now that it can be.
      const bool closes = world_.database != nullptr;
      if (closes) {
        if (failing != Call::unlock) expect_unlocked();
        ASSERT_EQ(0, world_.close());
      }
      ASSERT_TRUE(threw_ || open == open_files());
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
      const std::vector<std::string> left = world_.group.folder.list();
      EXPECT_TRUE(makes_in_parts || names.contains(left)) << ::testing::PrintToString(left);
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
