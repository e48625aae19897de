// Rights of an ordinary user, also where the tests run as root.
#ifndef VQDBSYS_TESTS_SUPPORT_ORDINARY_USER_H_
#define VQDBSYS_TESTS_SUPPORT_ORDINARY_USER_H_

#include <unistd.h>

#include "support/test.h"

namespace vqdb::testing {

// Root may write everything: works as somebody else meanwhile.
class OrdinaryUser {
 public:
  OrdinaryUser() { EXPECT_EQ(0, ::seteuid(user_ == 0 ? 65534 : user_)); }
  ~OrdinaryUser() { EXPECT_EQ(0, ::seteuid(user_)); }

 private:
  const uid_t user_ = ::geteuid();
};

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_ORDINARY_USER_H_
