// The seam through which tests make calls to the system fail. Every platform call asks verdict()
// first. The library is linked with an answer that always lets the call go on; a test program
// links its own, which fails or cuts short the n-th call.
#ifndef VQDBSYS_PLATFORM_FAULT_H_
#define VQDBSYS_PLATFORM_FAULT_H_

#include <cstdint>

namespace vqdb::platform {

enum class Call : std::uint8_t {
  open,
  create,  // all kinds
  close,
  read,
  write,  // and truncate
  size,   // and identity
  look,   // whether a path leads to a file, and to which
  clock,
  sync,
  lock,  // and test_lock
  unlock,
  remove,
  replace,
  allocate,
};

enum class Verdict : std::uint8_t {
  go_on,
  fail,       // the call fails and does nothing (a write fails as with a full disk)
  cut_short,  // a read or write transfers half of its bytes; other calls fail
};

Verdict verdict(Call call);

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_FAULT_H_
