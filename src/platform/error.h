// What a call to the system can end in, apart from success, named as the rest of the library needs
// to tell the cases apart.
#ifndef VQDBSYS_PLATFORM_ERROR_H_
#define VQDBSYS_PLATFORM_ERROR_H_

#include <cstdint>

namespace vqdb::platform {

enum class Error : std::uint8_t {
  none,
  not_found,
  already_exists,
  too_many_open,
  access_denied,
  disk_full,
  lock_refused,    // somebody else holds a byte of the range
  short_transfer,  // fewer bytes than asked for, and the system reports nothing
  other_device,    // a rename across devices
  linked,          // the file has several names, of which a rename would replace one
  other,
};

// The outcome of one platform call: what kind of failure, and the system's own number for it.
struct [[nodiscard]] Outcome {
  Error error = Error::none;
  std::int32_t system_number = 0;

  bool ok() const { return error == Error::none; }
};

}  // namespace vqdb::platform

#endif  // VQDBSYS_PLATFORM_ERROR_H_
