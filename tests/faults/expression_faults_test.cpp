#include "support/bound_table.h"
#include "support/fault_plan.h"

namespace {

using namespace vqdb;

const FaultPlan::Filter allocations = only(Call::allocate);

// The details of the refusals while the first allocation fails, then the second, and so on.
std::vector<std::int32_t> details_of_parse(BoundTable& bound, const char* text, VqTable* table) {
  std::vector<std::int32_t> details;
  for (std::uint64_t n = 1;; ++n) {
    const auto parsed =
        under_fault(
            n, Verdict::fail, [&] { return std::make_shared<Program>(bound, text, table); },
            allocations)
            .result;
    if (parsed->result == 0) return details;
    EXPECT_EQ(parsed->result, VQ_E_NO_MEMORY);
    EXPECT_EQ(parsed->expr, nullptr);
    details.push_back(bound.block.detail);
  }
}

TEST(ExpressionFaults, every_allocation_of_a_parse_has_its_code) {
  BoundTable bound;
  lib.dEfree(nullptr);
  details_of_parse(bound, "1", bound.table);  // the first handle makes room for more
  EXPECT_EQ(details_of_parse(bound, "NAME = 'a'", bound.table),
            (std::vector<std::int32_t>{6002, 6041, 6003, 6006, 6005}));
  EXPECT_EQ(details_of_parse(bound, "NAME = 'a text of more than 20'", bound.table),
            (std::vector<std::int32_t>{6002, 6031, 6041, 6003, 6006, 6005}));
  EXPECT_EQ(details_of_parse(bound, "DUE = {01/01/95}", bound.table),
            (std::vector<std::int32_t>{6002, 6032, 6041, 6003, 6006, 6005}));
  EXPECT_EQ(details_of_parse(bound, "1 = 2", VQ_NO_TABLE),
            (std::vector<std::int32_t>{6002, 6041, 6003, 6004, 6005}));
}

TEST(ExpressionFaults, only_long_texts_take_memory_in_a_run) {
  BoundTable bound(8);
  const struct {
    const char* text;
    std::int32_t detail;  // 0: no allocation
  } cases[] = {{"NAME", 0},
               {"AMOUNT > 5000 .AND. STATE = 'CA'", 0},
               {"NAME + STATE", 0},
               {"LEFT(CITY, 24) = CITY", 0},
               {"DUE = {01/01/95}", 0},
               {"NAME + CITY", 5001},
               {"CITY - STATE", 5002},
               {"UPPER(LEFT(CITY,3)) = 'SAN' .AND. YEAR(DUE) >= 1995 .AND. AMOUNT > 100", 0},
               {"STR(AMOUNT,19,2) + ''", 0},
               {"IIF(ACTIVE,TRIM(SUBSTR(CITY,1,25)),DMY(DUE))", 0},
               {"MDY(DUE) = TIME(1)", 0},
               {"UPPER(CITY)", 5086},
               {"LOWER(CITY)", 5056},
               {"PROPER(CITY)", 5092},
               {"CHRTRAN(CITY,'a','b')", 5090},
               {"STUFF(CITY,1,0,STATE)", 5081},
               {"REPLICATE(STATE,10)", 5070},
               {"SPACE(20)", 5078},
               {"STR(AMOUNT,20)", 5080},
               {"PADC(STATE,20)", 5093}};
  for (const auto& c : cases) {
    Program program(bound, c.text);
    const auto run = [&] { return program.run(bound.record.data()).result; };
    {
      const FaultPlan plan(1, Verdict::fail, allocations);
      EXPECT_EQ(run(), c.detail == 0 ? 0 : VQ_E_NO_MEMORY) << c.text;
      EXPECT_EQ(plan.struck(), c.detail != 0) << c.text;
      EXPECT_EQ(bound.block.detail, c.detail) << c.text;
    }
    EXPECT_EQ(run(), 0) << c.text;
    // What the first run took serves the next ones.
    const FaultPlan plan(1, Verdict::fail, allocations);
    EXPECT_EQ(run(), 0) << c.text;
  }
}

}  // namespace
