// Other programs that read the same files, as commands of the system.
#ifndef VQDBSYS_TESTS_INTEROP_OTHER_READER_H_
#define VQDBSYS_TESTS_INTEROP_OTHER_READER_H_

#include <cstdio>
#include <cstdlib>

#include "support/test.h"

namespace vqdb::testing {

// Skips the test when a command that succeeds where the reader is installed does not.
#define VQ_NEEDS_READER(what, probe)                                         \
  if (std::system((std::string(probe) + " >/dev/null 2>&1").c_str()) != 0) { \
    GTEST_SKIP() << (what) << " is not installed";                           \
  }

// The lines that a command prints, without their ends.
inline std::vector<std::string> lines_of(const std::string& command) {
  std::vector<std::string> lines(1);
  FILE* const output = ::popen(command.c_str(), "r");
  if (output == nullptr) return {};
  std::array<char, 4096> piece;
  while (std::fgets(piece.data(), piece.size(), output) != nullptr) {
    lines.back() += piece.data();
    if (lines.back().back() != '\n') continue;
    lines.back().pop_back();
    lines.emplace_back();
  }
  EXPECT_EQ(0, ::pclose(output)) << command;
  lines.pop_back();
  return lines;
}

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_INTEROP_OTHER_READER_H_
