// A rebuilt file taking the place of the old one.
#ifndef VQDBSYS_FRAME_PUT_IN_PLACE_H_
#define VQDBSYS_FRAME_PUT_IN_PLACE_H_

#include <string>

#include "platform/error.h"

namespace vqdb {

// Puts the file `from`, which is closed, in the place of `to`, in one step that a crash cannot
// split: when they lie on different devices a copy beside `to` takes that step. On failure `to` is
// untouched and `from` still there.
platform::Outcome put_in_place(const std::string& from, const std::string& to);

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_PUT_IN_PLACE_H_
