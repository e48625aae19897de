
#include "support/fault_plan.h"
#include "support/interface.h"

namespace {

// What goes on in steps, each of which stays when a later one fails; the histories stop these.
const std::set<std::string> kInSteps = {"dXindex",  "dXezindx", "dXdeltag",  "DBapprec", "DBindex",
                                        "DBrepair", "DBpack",   "DBreindex", "DBcompact"};

void fail_each_call_of(const FunctionCall& call, bool memory, Stage& stage) {
  bool struck = true;
  for (std::uint64_t n = 1; struck; ++n) {
    const auto run = call.prepare(stage);
    std::int32_t result = 0;
    {
      const FailingObjects objects(memory);
      const FaultPlan plan(n, Verdict::fail,
                           memory ? only(Call::allocate) : all_but(Call::allocate));
      result = run();
      struck = plan.struck();
    }
    const std::string context =
        std::string(call.name) + " " + std::to_string(n) + ": " + codes(result, *stage.block);
    stage.close();
    EXPECT_EQ(std::vector<std::string>(), stage.world.leftovers()) << context;
    const bool is_same = stage.restore();
    if (!memory || result >= 0) continue;
    const bool is_told = result == VQ_E_NO_MEMORY || context.ends_with("-3/6312");
    EXPECT_TRUE(is_told) << context;
    EXPECT_TRUE(is_same) << context;
  }
}

TEST(InterfaceFaults, every_function_survives_every_failing_call_and_leaves_no_file_behind) {
  Stage stage;
  for (const auto& call : interface_calls()) {
    if (kInSteps.count(call.name) != 0) continue;
    for (const bool memory : {true, false}) fail_each_call_of(call, memory, stage);
  }
}

}  // namespace
