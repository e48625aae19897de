#include <gtest/gtest.h>

#include "support/process.h"

int main(int argc, char** argv) {
  int exit_code = 0;
  if (vqdb::testing::run_as_child(argc, argv, &exit_code)) {
    return exit_code;
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
