// Rebuilt files that take the places of others together. A journal, which is there from the moment
// when all of them are complete until the last one is in its place, tells whoever comes after a
// crash to put the others in place, too.
#ifndef VQDBSYS_FRAME_REPLACEMENTS_H_
#define VQDBSYS_FRAME_REPLACEMENTS_H_

#include <span>
#include <string>

#include "platform/error.h"

namespace vqdb {

// Where the file that takes the place of `target` grows.
std::string growing_beside(const std::string& target);

// Puts a file in the place of each target, in this order. After a failure that left no journal
// nothing has been replaced; else completing is all that is left to do. REQUIRES that the files
// beside them (growing_beside) are complete, and on the device.
platform::Outcome replace_together(const std::string& journal,
                                   std::span<const std::string> targets);

// Completes what a journal tells; nothing to do without one. A file that someone else has changed
// since, or whose replacement has gone, is not replaced: when that is the first of them, none is
// and all is as it was before; else `other`. It is `other` as well where both are so, since the
// first file may have been replaced before it was changed.
platform::Outcome complete_replacements(const std::string& journal);

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_REPLACEMENTS_H_
