#include "support/interface.h"

namespace {

TEST(Interface, refuses_null_foreign_and_closed_in_every_function_and_changes_nothing) {
  Stage stage;
  for (const FunctionCall& call : interface_calls()) {
    EXPECT_EQ(call.refusals, call.refuse(stage)) << call.name;
  }
}

TEST(Interface, is_all_in_the_table_and_every_call_succeeds) {
  std::vector<std::string> exported;
#define VQ_EXPORTED(name) exported.push_back(#name);
#include "exported_functions.inc"
#undef VQ_EXPORTED
  std::vector<std::string> called;
  Stage stage;
  for (const FunctionCall& call : interface_calls()) {
    called.emplace_back(call.name);
    EXPECT_LE(0, call.prepare(stage)()) << call.name << " " << int32_t{stage.block->detail};
    stage.close();
    stage.restore();
  }
  std::ranges::sort(exported);
  std::ranges::sort(called);
  EXPECT_EQ(exported, called);
}

}  // namespace
