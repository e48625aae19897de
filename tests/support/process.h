// A second process for tests in which two programs share a table. A test file names a body with
// VQ_CHILD; start_child runs this same program again, which then executes that body alone, and
// talks with it line by line over its standard input and output.
//
//   VQ_CHILD(hold_record_lock) {
//     ... lock args[0] ...
//     say("locked");
//     wait_for_line();
//     return 0;
//   }
//   TEST(...) {
//     Child child("hold_record_lock", {folder.file("A.DBF")});
//     ASSERT_EQ("locked", child.read_line());
//     ...
//     child.write_line("done");
//     EXPECT_EQ(0, child.wait());
//   }
#ifndef VQDBSYS_TESTS_SUPPORT_PROCESS_H_
#define VQDBSYS_TESTS_SUPPORT_PROCESS_H_

#include "support/test.h"

namespace vqdb::testing {

using Arguments = std::vector<std::string>;
using ChildBody = int (*)(const Arguments& args);

class Child : NotCopied {
 public:
  // Starts this program again to run the body registered as `name`. Throws std::runtime_error when
  // the system refuses.
  Child(const std::string& name, const Arguments& args);
  // Waits for the process when wait() was not called.
  ~Child();

  // The next line that the child says, without its end; empty when it has ended.
  std::string read_line();
  void write_line(const std::string& line);
  // Ends the child's input, so that its wait_for_line returns, then gives its exit code: what the
  // body returned, or a negative number when the process died otherwise.
  int wait();
  // Ends the process at once, as a crash would.
  void kill();

 private:
  struct System;
  std::unique_ptr<System> system_;
};

// For the body: a line to the parent, and the parent's next line (empty when there is no more).
void say(const std::string& line);
std::string wait_for_line();

// Registers a body; used by VQ_CHILD.
bool register_child(const char* name, ChildBody body);

// Runs the body that the command line asks for. False when it asks for none.
bool run_as_child(int argc, char** argv, int* exit_code);

#define VQ_CHILD(name)                                            \
  static int name##_body(const ::vqdb::testing::Arguments& args); \
  [[maybe_unused]] static const bool name##_registered =          \
      ::vqdb::testing::register_child(#name, &name##_body);       \
  static int name##_body([[maybe_unused]] const ::vqdb::testing::Arguments& args)

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_PROCESS_H_
