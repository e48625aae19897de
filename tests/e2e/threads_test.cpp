#include <thread>

#include "support/interface.h"

namespace {

void run_in_threads(const std::function<void(unsigned)>& run) {
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 8; ++t) threads.emplace_back(run, t);
  for (std::thread& thread : threads) thread.join();
}

TEST(Threads, call_every_function_at_the_same_time) {
  const std::vector<FunctionCall>& calls = interface_calls();
  run_in_threads([&](unsigned t) {
    Stage stage;
    for (std::size_t i = 0; i < 3 * calls.size(); ++i) {
      const FunctionCall& call = calls[(i + t * calls.size() / 8) % calls.size()];
      EXPECT_LE(0, call.prepare(stage)()) << call.name << " " << int32_t{stage.block->detail};
      stage.close();
      stage.restore();
    }
  });
}

TEST(Threads, change_check_and_mend_files_of_their_own_at_the_same_time) {
  const std::vector<History> all = histories();
  run_in_threads([&](unsigned t) {
    for (std::size_t i = 0; i < all.size(); ++i) {
      const History& history = all[(i + t * all.size() / 8) % all.size()];
      World world(history.kind);
      if (history.prepare != nullptr) history.prepare(world);
      for (const Step& step : history.steps) EXPECT_EQ(0, step.run(world)) << history.name;
      EXPECT_EQ("", history.errors(world, history.steps.size(), false)) << history.name;
      EXPECT_LT(0U, world.read().size());
    }
  });
}

}  // namespace
