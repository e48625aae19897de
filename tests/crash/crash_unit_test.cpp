// Each history in a process that dies at its n-th change of a file, for every n, also with a write
// cut in half: nothing that was stored is lost, table and memo file check, a repair makes the group
// sound, and work goes on.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "support/fault_plan.h"
#include "support/histories.h"

namespace {

constexpr std::uint64_t kMaxChanges = 2000;

class Crash : public ::testing::TestWithParam<History> {
 protected:
  Crash() : world_(GetParam().kind) {
    if (GetParam().prepare != nullptr) GetParam().prepare(world_);
    world_.keep();
  }

  // Runs the history in a process that dies; returns how many steps came to their end.
  std::size_t run_until(std::uint64_t n, bool half, bool& ended) {
    world_.restore();
    *done_ = 0;
    const pid_t child = ::fork();
    if (child == 0) {
      crash_at(n, half, is_change);
      for (const Step& step : GetParam().steps) {
        // Half a write is told, and then the process dies.
        if (step.run(world_) != 0) std::_Exit(half ? kCrashed : 1);
        ++*done_;
      }
      std::_Exit(0);
    }
    int status = 0;
    EXPECT_EQ(child, ::waitpid(child, &status, 0));
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    EXPECT_TRUE(code == 0 || code == kCrashed) << code;
    ended = code != kCrashed;
    return *done_;
  }

  World world_;

 private:
  std::size_t* const done_ = static_cast<std::size_t*>(::mmap(
      nullptr, sizeof(std::size_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

TEST_P(Crash, loses_nothing_stored_and_can_be_mended) {
  const History& history = GetParam();
  const std::vector<Atoms> states = states_of(world_, history);
  for (const bool half : {false, true}) {
    bool ended = false;
    for (std::uint64_t n = 1; !ended && n < kMaxChanges; n += half ? 1 : 2) {
      SCOPED_TRACE(std::to_string(n) + (half ? " half" : " instead"));
      const std::size_t done = run_until(n, half, ended);
      const auto lost = [&] {
        return first_lost(states, history.stored(done), history.begun(done), world_.read());
      };
      if (history.name != "repair") {
        ASSERT_EQ("", history.errors(world_, done, half));
        ASSERT_EQ("", lost());
      }
      if (world_.group.check().result != 0) {
        const Report repaired = world_.repair();
        ASSERT_EQ(0, repaired.result) << world_.group.block.detail << repaired.summary();
        ASSERT_EQ("", lost());
      }
      if (n % 4 != 0) continue;
      const Atoms mended = world_.read();
      ASSERT_EQ(0, world_.open(2));
      ASSERT_EQ(0, append(109, 0).run(world_));
      ASSERT_EQ(0, world_.close());
      ASSERT_EQ("", world_.group.check().summary(VQ_SEVERITY_ERROR));
      ASSERT_EQ("", first_lost({mended}, 0, 0, world_.read()));
    }
    ASSERT_TRUE(ended);
  }
}

INSTANTIATE_TEST_SUITE_P(Histories, Crash, ::testing::ValuesIn(histories()),
                         [](const auto& each) { return name_of(each.param); });

}  // namespace
