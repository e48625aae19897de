// Every function while each call of the system, and each for memory, fails in turn or is cut short:
// what was there is there, or all that a success makes, and nothing else; nothing stays open.
#include "support/fault_plan.h"
#include "support/interface.h"

namespace {

using Functions = std::set<std::string>;

// What goes on in steps, each of which stays when a later one fails; the histories stop these.
const Functions kInSteps = {"dXindex", "dXezindx", "dXdeltag",  "DBapprec", "DBindex",
                            "DBpack",  "DBrepair", "DBreindex", "DBcompact"};
// What changes files where they are: tests of their own tell what may be left. An opening does not
// fail where it cannot write the index list.
const Functions kInPlace = {"DBopen",  "DBupdrec", "dDapprec", "dDinsrec", "dDupdrec", "dTaddmm",
                            "dTnewmm", "dTupdmm",  "dTnewmm3", "dTaddmm3", "dTupdmm3", "dTputmm3"};

// Who closes files that are only read, can do without the index list, or looks for others' tags.
const Functions kGoOn = {"DBcheck",  "DBcopy",   "DBdelrec", "DBopen", "DBrclrec",
                         "DBupdrec", "DBuse",    "dDcmpstr", "dDcopy", "dDpack",
                         "dDsort",   "dXactidx", "GRPmember"};

struct Way {
  const char* name;
  Verdict verdict;
  FaultPlan::Filter counts;
  bool is_memory() const { return counts(Call::allocate); }
};

const Way kWays[] = {{"has no memory", Verdict::fail, only(Call::allocate)},
                     {"cannot tell the time", Verdict::fail, only(Call::clock)},
                     {"fails", Verdict::fail,
                      [](Call call) { return call != Call::allocate && call != Call::clock; }},
                     {"is cut short", Verdict::cut_short,
                      [](Call call) { return call == Call::read || call == Call::write; }}};

// What the failures of some functions tell, beside others.
const std::pair<const char*, std::set<std::int32_t>> kTold[] = {
    {"dDcreat", {152, 153, 155, 163, 164}},
    {"dNcreat", {3024, 3025, 3026}},
    {"dNclose", {3231}},
    {"DBopen", {6116, 6117}},
    {"DBuse", {6113, 6115, 6116, 6126, 6301, 6302, 6304, 6305, 6306, 6308, 6312}}};

// Gives the details of the failures.
std::set<std::int32_t> fail_each_call_of(const FunctionCall& call, const Way& way, Stage& stage) {
  const World::Files before = stage.world.files();
  const std::size_t open = open_files();
  EXPECT_LE(0, call.prepare(stage)());
  stage.close();
  const World::Files after = stage.world.files();
  stage.restore();
  std::set<std::int32_t> details;
  bool struck = true;
  for (std::uint64_t n = 1; struck; ++n) {
    const auto run = call.prepare(stage);
    std::int32_t result = 0;
    std::uint64_t counted = 0;
    Call failing = Call::look;
    {
      const FailingObjects objects(way.is_memory());
      const FaultPlan plan(n, way.verdict, [&](Call each) {
        const bool counts = way.counts(each);
        if (counts && ++counted == n) failing = each;
        return counts;
      });
      result = run();
      struck = plan.struck();
    }
    const std::int32_t detail = stage.block->detail;
    SCOPED_TRACE(std::string(call.name) + ": the " + std::to_string(n) + "th call " + way.name +
                 ": " + codes(result, detail));
    stage.close();
    EXPECT_EQ(open, open_files());
    const World::Files files = stage.world.files();
    if (files != before) {
      EXPECT_EQ(std::vector<std::string>(), stage.world.leftovers());
      stage.restore();
    }
    if (result < 0) {
      details.insert(detail);
      EXPECT_TRUE(detail != 0 || result == VQ_E_NO_MEMORY);
      EXPECT_TRUE(!way.is_memory() || result == VQ_E_NO_MEMORY || detail == 6312);
      EXPECT_TRUE(!way.is_memory() || files == before);
    }
    const bool reads = failing == Call::read && way.verdict == Verdict::fail;
    if (reads || failing == Call::create || failing == Call::close || failing == Call::replace) {
      EXPECT_TRUE(result < 0 || kGoOn.contains(call.name)) << "nobody hears of it";
    }
    if (way.counts(Call::clock) || kInPlace.contains(call.name)) continue;
    EXPECT_TRUE(files == after || (result < 0 && files == before)) << "neither old nor new";
  }
  return details;
}

TEST(InterfaceFaults, every_function_survives_every_failing_call_and_leaves_old_files_or_new) {
  Stage stage;
  for (const auto& call : interface_calls()) {
    if (kInSteps.contains(call.name)) continue;
    std::set<std::int32_t> details;
    for (const Way& way : kWays) details.merge(fail_each_call_of(call, way, stage));
    for (const auto& [name, told] : kTold) {
      EXPECT_TRUE(call.name != std::string(name) || std::ranges::includes(details, told)) << name;
    }
  }
}

}  // namespace
